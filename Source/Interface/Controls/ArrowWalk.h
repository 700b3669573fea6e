#pragma once

#include <QQuickItem>

namespace nocta {

/// Holds controls of which one at a time has the keyboard, and turns the arrow keys, Home and End into a walk from one
/// to the next. The walk ends at the first and the last one.
class ArrowWalk : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int count MEMBER count NOTIFY changed FINAL)
    /// Of a grid; 0 for a single line, where up and down go back and forth too.
    Q_PROPERTY(int columns MEMBER columns NOTIFY changed FINAL)
    /// Where the walk begins; below 0 before the first one.
    Q_PROPERTY(int current MEMBER current NOTIFY changed FINAL)
    /// Whether the first one is the rightmost.
    Q_PROPERTY(bool mirrored MEMBER mirrored NOTIFY changed FINAL)

  public:
    explicit ArrowWalk(QQuickItem* parent = nullptr) : QQuickItem(parent) {}

  Q_SIGNALS:
    void changed();
    /// To another one than `current`.
    void walked(int index);

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    int count = 0;
    int columns = 0;
    int current = -1;
    bool mirrored = false;
};

} // namespace nocta
