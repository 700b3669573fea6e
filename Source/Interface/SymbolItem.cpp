#include "Interface/SymbolItem.h"

#include "Interface/Symbols.h"

namespace nocta {

SymbolItem::SymbolItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &SymbolItem::changed, this, [this] { update(); });
}

void SymbolItem::setSize(qreal size) {
    setImplicitSize(size, size);
    Q_EMIT changed();
}

void SymbolItem::paint(QPainter* painter) {
    paintSymbol(*painter, name.toStdString(), boundingRect(), color);
}

} // namespace nocta
