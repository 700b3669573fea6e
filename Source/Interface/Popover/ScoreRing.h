#pragma once

#include <QColor>
#include <QQuickPaintedItem>

namespace nocta {

/// A share of a whole as an arc over a faint full circle: from the top, clockwise. Fills the largest square in its
/// middle, the strokes included.
class ScoreRing : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// What is beyond [0, 1] counts as the nearer end.
    Q_PROPERTY(qreal fraction MEMBER fraction NOTIFY changed FINAL)
    Q_PROPERTY(QColor color MEMBER color NOTIFY changed FINAL)
    /// Of the strokes, in logical pixels.
    Q_PROPERTY(qreal lineWidth MEMBER lineWidth NOTIFY changed FINAL)

  public:
    explicit ScoreRing(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void changed();

  private:
    qreal fraction = 0;
    QColor color;
    qreal lineWidth = 1;
};

} // namespace nocta
