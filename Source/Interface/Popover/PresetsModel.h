#pragma once

#include "Interface/Popover/TabModel.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

namespace nocta {

/// What the tab "Presets" binds to: the built-in presets in their order, and values of one's own. Needs the application
/// object.
class PresetsModel : public TabModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the popover.")
    Q_PROPERTY(QStringList names READ names CONSTANT FINAL)
    Q_PROPERTY(QStringList icons READ icons CONSTANT FINAL)
    Q_PROPERTY(QStringList temperatures READ temperatures CONSTANT FINAL)
    Q_PROPERTY(QList<QColor> colors READ colors NOTIFY colorsChanged FINAL)
    /// The card that is highlighted: -1 while the filter is off, or values of one's own are in force.
    Q_PROPERTY(int activeIndex READ activeIndex NOTIFY activeIndexChanged FINAL)

    /// In kelvin. Writing it, and the brightness, is what a slider's user does: it changes the setting and at once the
    /// screen.
    Q_PROPERTY(qreal customTemp READ customTemp WRITE setCustomTemp NOTIFY customTempChanged FINAL)
    Q_PROPERTY(qreal lowestTemp READ lowestTemp CONSTANT FINAL)
    Q_PROPERTY(qreal highestTemp READ highestTemp CONSTANT FINAL)
    Q_PROPERTY(QString customTempText READ customTempText NOTIFY customTempChanged FINAL)
    /// How white looks, in four even steps from the lowest to the highest temperature.
    Q_PROPERTY(QList<QColor> whites READ whites CONSTANT FINAL)
    /// A factor, 1 is full brightness.
    Q_PROPERTY(
        qreal customBrightness READ customBrightness WRITE setCustomBrightness NOTIFY customBrightnessChanged FINAL)
    Q_PROPERTY(qreal lowestBrightness READ lowestBrightness CONSTANT FINAL)
    Q_PROPERTY(qreal highestBrightness READ highestBrightness CONSTANT FINAL)
    Q_PROPERTY(QString customBrightnessText READ customBrightnessText NOTIFY customBrightnessChanged FINAL)

  public:
    PresetsModel();

    [[nodiscard]] static QStringList names();
    [[nodiscard]] static QStringList icons();
    [[nodiscard]] static QStringList temperatures();
    [[nodiscard]] static QList<QColor> colors();
    [[nodiscard]] static int activeIndex();
    /// Makes a preset the active one and fades to it. While the filter is off it does nothing, on purpose.
    Q_INVOKABLE static void pick(int index);

    [[nodiscard]] static qreal customTemp();
    /// To the whole kelvin below. Also while the filter is off the values become the active ones.
    static void setCustomTemp(qreal kelvin);
    [[nodiscard]] static qreal lowestTemp() { return 1900; }
    [[nodiscard]] static qreal highestTemp() { return 6500; }
    [[nodiscard]] static QString customTempText();
    [[nodiscard]] static QList<QColor> whites();

    [[nodiscard]] static qreal customBrightness();
    /// The active preset stays, and its temperature on the screen.
    static void setCustomBrightness(qreal factor);
    [[nodiscard]] static qreal lowestBrightness() { return 0.3; }
    [[nodiscard]] static qreal highestBrightness() { return 1.0; }
    [[nodiscard]] static QString customBrightnessText();

    /// A factor in whole percent, to the one below: "99%" for 0.999. `fatalError` where it is not finite or beyond 64
    /// bits.
    [[nodiscard]] static QString percentage(double factor);

  Q_SIGNALS:
    void colorsChanged();
    void activeIndexChanged();
    void customTempChanged();
    void customBrightnessChanged();

  protected:
    void appear() override {}
    void disappear() override {}
};

} // namespace nocta
