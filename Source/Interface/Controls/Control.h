#pragma once

#include <QQuickItem>

namespace nocta {

/// What every control has in common: it can be clicked with the mouse, and with Space and Return when it has the
/// keyboard, and Tab reaches it. How it looks is the scene's affair.
class Control : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool hovered READ isHovered NOTIFY hoveredChanged FINAL)
    /// Held by the mouse within its bounds, or by a key.
    Q_PROPERTY(bool down READ isDown NOTIFY downChanged FINAL)
    /// Has the keyboard, and its user shows signs of using it.
    Q_PROPERTY(bool visualFocus READ hasVisualFocus NOTIFY visualFocusChanged FINAL)
    /// Whether the mouse gives it the keyboard.
    Q_PROPERTY(bool takesFocus MEMBER takesFocus NOTIFY takesFocusChanged FINAL)

  public:
    explicit Control(QQuickItem* parent = nullptr);

    [[nodiscard]] bool isHovered() const { return hovered; }
    [[nodiscard]] bool isDown() const { return heldByMouse || heldKey != 0; }
    [[nodiscard]] bool hasVisualFocus() const { return visualFocus; }

  Q_SIGNALS:
    void hoveredChanged();
    void downChanged();
    void visualFocusChanged();
    void takesFocusChanged();
    void clicked();

  protected:
    void hoverEnterEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

    void setHeldByMouse(bool held);
    void setVisualFocus(bool visible);

  private:
    void setHovered(bool isHovered);
    void setHeldKey(int key);

    bool hovered = false;
    bool heldByMouse = false;
    bool visualFocus = false;
    bool takesFocus = true;
    int heldKey = 0;
};

} // namespace nocta
