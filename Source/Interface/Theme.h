#pragma once

#include "Interface/Bands.h"
#include "Platform/Appearance.h"
#include "Platform/WindowHost.h"

#include <memory>

#include <QColor>
#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace nocta {

/// How everything looks: the one place of colours and text styles. Follows the desktop's preferences while the program
/// runs. Main thread only, needs the application object.
class Theme final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY changed FINAL)
    /// Whether something may move for the sake of looks.
    Q_PROPERTY(bool animates READ animates NOTIFY changed FINAL)
    /// Whether what is read first is on the right.
    Q_PROPERTY(bool mirrored READ isMirrored NOTIFY mirroredChanged FINAL)

    Q_PROPERTY(QColor blue READ blue NOTIFY changed FINAL)
    Q_PROPERTY(QColor orange READ orange NOTIFY changed FINAL)
    Q_PROPERTY(QColor green READ green NOTIFY changed FINAL)
    Q_PROPERTY(QColor primary READ primary NOTIFY changed FINAL)
    Q_PROPERTY(QColor secondary READ secondary NOTIFY changed FINAL)
    Q_PROPERTY(QColor tertiary READ tertiary NOTIFY changed FINAL)
    Q_PROPERTY(QColor background READ background NOTIFY changed FINAL)
    /// Of the tab bar: the background once more, a little apart from it.
    Q_PROPERTY(QColor bar READ bar NOTIFY changed FINAL)
    /// Of what stands on a card in its full colour, and of what matters less there.
    Q_PROPERTY(QColor onCard READ onCard CONSTANT FINAL)
    Q_PROPERTY(QColor onCardDetail READ onCardDetail CONSTANT FINAL)
    /// Below both of them: cards may be pale.
    Q_PROPERTY(QColor onCardShadow READ onCardShadow CONSTANT FINAL)
    Q_PROPERTY(QColor divider READ divider NOTIFY changed FINAL)
    /// Of what is empty in a control: a track, a segmented control's bed, a switch that is off.
    Q_PROPERTY(QColor trough READ trough NOTIFY changed FINAL)
    Q_PROPERTY(QColor switchedOff READ switchedOff NOTIFY changed FINAL)
    Q_PROPERTY(QColor switchedOffHover READ switchedOffHover NOTIFY changed FINAL)
    /// Of what is moved along a track.
    Q_PROPERTY(QColor knob READ knob NOTIFY changed FINAL)
    Q_PROPERTY(QColor knobDown READ knobDown NOTIFY changed FINAL)
    Q_PROPERTY(QColor knobEdge READ knobEdge NOTIFY changed FINAL)
    /// Of what lies on a trough: the chosen segment.
    Q_PROPERTY(QColor raised READ raised NOTIFY changed FINAL)
    /// Of what stands on the background and takes a click or keys: a bordered button, a field.
    Q_PROPERTY(QColor button READ button NOTIFY changed FINAL)
    Q_PROPERTY(QColor raisedBorder READ raisedBorder NOTIFY changed FINAL)
    Q_PROPERTY(QColor hover READ hover NOTIFY changed FINAL)
    Q_PROPERTY(QColor pressed READ pressed NOTIFY changed FINAL)
    Q_PROPERTY(QColor focusRing READ focusRing NOTIFY changed FINAL)
    Q_PROPERTY(QColor scrollIndicator READ scrollIndicator NOTIFY changed FINAL)

    Q_PROPERTY(QFont headline READ headline NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont body READ body NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont subheadline READ subheadline NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont caption READ caption NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont badgeFigure READ badgeFigure NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont badgeLabel READ badgeLabel NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont tabLabel READ tabLabel NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont cardName READ cardName NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont activeCardName READ activeCardName NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont cardDetail READ cardDetail NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont scoreFigure READ scoreFigure NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont tallyFigure READ tallyFigure NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont countdown READ countdown NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont statFigure READ statFigure NOTIFY fontsChanged FINAL)
    Q_PROPERTY(QFont statLabel READ statLabel NOTIFY fontsChanged FINAL)
    /// In the strip of the day.
    Q_PROPERTY(QFont segmentLabel READ segmentLabel NOTIFY fontsChanged FINAL)

  public:
    /// Created on first use, never destroyed. Asks the platform's Appearance, and where that has no answer, or there is
    /// none, the application's palette.
    static Theme& shared();
    /// The shared one, for every engine.
    static Theme* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    [[nodiscard]] ColorScheme scheme() const { return currentScheme; }
    [[nodiscard]] bool isDark() const { return currentScheme == ColorScheme::dark; }
    [[nodiscard]] bool animates() const { return !stillness; }
    [[nodiscard]] static bool isMirrored();
    [[nodiscard]] QColor color(const BandColor& color) const;

    [[nodiscard]] QColor blue() const { return color(SystemColor::blue); }
    [[nodiscard]] QColor orange() const { return color(SystemColor::orange); }
    [[nodiscard]] QColor green() const { return color(SystemColor::green); }
    [[nodiscard]] QColor primary() const { return label(LabelLevel::primary); }
    [[nodiscard]] QColor secondary() const { return label(LabelLevel::secondary); }
    [[nodiscard]] QColor tertiary() const { return label(LabelLevel::tertiary); }
    [[nodiscard]] QColor background() const;
    [[nodiscard]] QColor bar() const;
    [[nodiscard]] static QColor onCard();
    [[nodiscard]] static QColor onCardDetail();
    [[nodiscard]] static QColor onCardShadow();
    [[nodiscard]] QColor divider() const;
    [[nodiscard]] QColor trough() const;
    [[nodiscard]] QColor switchedOff() const;
    [[nodiscard]] QColor switchedOffHover() const;
    [[nodiscard]] QColor knob() const;
    [[nodiscard]] QColor knobDown() const;
    [[nodiscard]] static QColor knobEdge();
    [[nodiscard]] QColor raised() const;
    [[nodiscard]] QColor button() const;
    [[nodiscard]] QColor raisedBorder() const;
    [[nodiscard]] QColor hover() const;
    [[nodiscard]] QColor pressed() const;
    [[nodiscard]] QColor focusRing() const;
    [[nodiscard]] QColor scrollIndicator() const;

    /// In the desktop's own typeface, in logical pixels.
    [[nodiscard]] static QFont headline();
    [[nodiscard]] static QFont body();
    [[nodiscard]] static QFont subheadline();
    [[nodiscard]] static QFont caption();
    [[nodiscard]] static QFont badgeFigure();
    [[nodiscard]] static QFont badgeLabel();
    [[nodiscard]] static QFont tabLabel();
    [[nodiscard]] static QFont cardName();
    [[nodiscard]] static QFont activeCardName();
    [[nodiscard]] static QFont cardDetail();
    [[nodiscard]] static QFont scoreFigure();
    [[nodiscard]] static QFont tallyFigure();
    [[nodiscard]] static QFont countdown();
    [[nodiscard]] static QFont statFigure();
    [[nodiscard]] static QFont statLabel();
    [[nodiscard]] static QFont segmentLabel();
    /// For texts to be read from afar, `size` logical pixels high: in Inter, for its thin and semibold weights; where
    /// it is not installed, in the desktop's own typeface.
    [[nodiscard]] static QFont display(double size, FontWeight weight);

  Q_SIGNALS:
    void changed();
    void fontsChanged();
    void mirroredChanged();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    Theme();

    [[nodiscard]] QColor label(LabelLevel level) const;
    void update();

    std::unique_ptr<AppearanceObserver> observer;
    ColorScheme currentScheme = ColorScheme::light;
    bool stillness = false;
};

} // namespace nocta
