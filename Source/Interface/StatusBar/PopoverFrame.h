#pragma once

#include "Interface/StatusBar/PopoverPlacement.h"

#include <optional>

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QRectF>

namespace nocta {

/// What is around the popover's views: on desktops that blend windows a shadow, a fine edge and an arrow towards what
/// the popover belongs to, elsewhere the edge alone. The views are its children, in its `body`.
class PopoverFrame final : public QQuickItem {
    Q_OBJECT

  public:
    /// Room around the body for shadow and arrow, and the body's corners. Logical pixels.
    static constexpr double shadowExtent = 22;
    static constexpr double cornerRadius = 12;
    static constexpr double arrowLength = 9;

    explicit PopoverFrame(QQuickItem* parent);

    /// `background` is what the views stand on, beside the arrow.
    void setColors(const QColor& newBackground, const QColor& newEdge);
    /// `pointer` is where the arrow is on the side of the body that `side` names; without it there is no arrow. Where
    /// the window is not translucent the body is the whole window and rectangular.
    void arrange(bool newIsTranslucent, const QSizeF& bodySize, Side side, std::optional<double> newPointer);

    /// Within this item.
    [[nodiscard]] QRectF body() const { return bodyRect; }

  Q_SIGNALS:
    /// Escape was pressed and nothing in the popover had a use for it.
    void escapePressed();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;

  private:
    bool isTranslucent = false;
    QRectF bodyRect;
    Side facing = Side::top;
    std::optional<double> pointer;
    QColor background;
    QColor edge;
};

} // namespace nocta
