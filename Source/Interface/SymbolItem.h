#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>

namespace nocta {

/// A symbol in a scene, drawn anew at the scale of the screen it is on.
class SymbolItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Symbol)
    /// As in Symbols.h.
    Q_PROPERTY(QString name MEMBER name NOTIFY changed FINAL)
    Q_PROPERTY(QColor color MEMBER color NOTIFY changed FINAL)
    /// Width and height in logical pixels where nothing else sizes the item.
    Q_PROPERTY(qreal size READ size WRITE setSize NOTIFY changed FINAL)

  public:
    explicit SymbolItem(QQuickItem* parent = nullptr);

    [[nodiscard]] qreal size() const { return implicitWidth(); }
    void setSize(qreal size);

    void paint(QPainter* painter) override;

  Q_SIGNALS:
    void changed();

  private:
    QString name;
    QColor color;
};

} // namespace nocta
