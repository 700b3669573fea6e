#pragma once

#include "Core/Signal.h"

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace nocta {

/// The one accent of the popover: the warm colour of the effective temperature, also while the filter is off.
class Accent final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor color READ color NOTIFY changed FINAL)

  public:
    Accent();
    /// One for every engine.
    static Accent* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    [[nodiscard]] static QColor color();

  Q_SIGNALS:
    void changed();

  private:
    Subscription preset;
    Subscription customTemp;
};

} // namespace nocta
