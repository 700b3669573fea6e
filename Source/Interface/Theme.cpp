#include "Interface/Theme.h"

#include "Platform/Platform.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

namespace nocta {

namespace {

QColor toQt(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

QColor choose(ColorScheme scheme, const QColor& light, const QColor& dark) {
    return scheme == ColorScheme::dark ? dark : light;
}

QColor black(double opacity) {
    return QColor::fromRgbF(0, 0, 0, static_cast<float>(opacity));
}

QColor white(double opacity) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity));
}

QFont textStyle(int pixels, QFont::Weight weight = QFont::Normal) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

} // namespace

Theme& Theme::shared() {
    static Theme& instance = *new Theme;
    return instance;
}

Theme* Theme::create(QQmlEngine* /*engine*/, QJSEngine* /*scriptEngine*/) {
    QJSEngine::setObjectOwnership(&shared(), QJSEngine::CppOwnership);
    return &shared();
}

Theme::Theme() {
    if (auto* appearance = Platform::current().appearance) {
        observer = appearance->observe([this] { update(); });
    }
    QCoreApplication::instance()->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &Theme::mirroredChanged);
    update();
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QCoreApplication::instance()) {
        if (event->type() == QEvent::ApplicationPaletteChange) {
            update();
        } else if (event->type() == QEvent::ApplicationFontChange) {
            Q_EMIT fontsChanged();
        }
    }
    return QObject::eventFilter(watched, event);
}

void Theme::update() {
    const auto* appearance = Platform::current().appearance;
    const auto preferred = appearance != nullptr ? appearance->colorScheme() : std::nullopt;
    const auto scheme =
        preferred.value_or(QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5F ? ColorScheme::dark
                                                                                                  : ColorScheme::light);
    const bool still = appearance != nullptr && appearance->reducesMotion();
    if (scheme != currentScheme || still != stillness) {
        currentScheme = scheme;
        stillness = still;
        Q_EMIT changed();
    }
}

bool Theme::isMirrored() {
    return QGuiApplication::layoutDirection() == Qt::RightToLeft;
}

QColor Theme::color(const BandColor& color) const {
    if (const auto* named = std::get_if<SystemColor>(&color)) {
        return toQt(systemColor(*named, currentScheme));
    }
    return toQt(std::get<Color>(color));
}

QColor Theme::label(LabelLevel level) const {
    return toQt(labelColor(level, currentScheme));
}

QColor Theme::background() const {
    return choose(currentScheme, QColor(0xf7, 0xf6, 0xf4), QColor(0x22, 0x21, 0x20));
}

QColor Theme::onCard() {
    return white(1);
}

QColor Theme::onCardDetail() {
    return white(0.8);
}

QColor Theme::onCardShadow() {
    return black(0.35);
}

QColor Theme::bar() const {
    return choose(currentScheme, white(0.5), black(0.14));
}

QColor Theme::divider() const {
    return choose(currentScheme, black(0.09), white(0.1));
}

QColor Theme::trough() const {
    return choose(currentScheme, black(0.07), white(0.1));
}

QColor Theme::switchedOff() const {
    return choose(currentScheme, black(0.2), white(0.24));
}

QColor Theme::switchedOffHover() const {
    return choose(currentScheme, black(0.26), white(0.3));
}

QColor Theme::knob() const {
    return choose(currentScheme, QColor(0xff, 0xff, 0xff), QColor(0xee, 0xed, 0xeb));
}

QColor Theme::knobDown() const {
    return choose(currentScheme, QColor(0xee, 0xed, 0xec), QColor(0xff, 0xff, 0xff));
}

QColor Theme::knobEdge() {
    return black(0.16);
}

QColor Theme::raised() const {
    return choose(currentScheme, QColor(0xff, 0xff, 0xff), QColor(0x5c, 0x5a, 0x58));
}

QColor Theme::button() const {
    return choose(currentScheme, QColor(0xff, 0xff, 0xff), QColor(0x3b, 0x3a, 0x38));
}

QColor Theme::raisedBorder() const {
    return choose(currentScheme, black(0.12), white(0.08));
}

QColor Theme::hover() const {
    return choose(currentScheme, black(0.05), white(0.07));
}

QColor Theme::pressed() const {
    return choose(currentScheme, black(0.1), white(0.13));
}

QColor Theme::focusRing() const {
    return choose(currentScheme, QColor(0x00, 0x67, 0xd8), QColor(0x4d, 0xa6, 0xff));
}

QColor Theme::scrollIndicator() const {
    return choose(currentScheme, black(0.22), white(0.26));
}

QFont Theme::headline() {
    return textStyle(14, QFont::DemiBold);
}

QFont Theme::body() {
    return textStyle(13);
}

QFont Theme::subheadline() {
    return textStyle(12);
}

QFont Theme::caption() {
    return textStyle(11);
}

QFont Theme::badgeFigure() {
    return textStyle(18, QFont::Bold);
}

QFont Theme::badgeLabel() {
    return textStyle(9);
}

QFont Theme::tabLabel() {
    return textStyle(10);
}

QFont Theme::cardName() {
    return textStyle(11);
}

QFont Theme::activeCardName() {
    return textStyle(11, QFont::DemiBold);
}

QFont Theme::cardDetail() {
    return textStyle(9);
}

QFont Theme::scoreFigure() {
    return textStyle(28, QFont::Bold);
}

QFont Theme::tallyFigure() {
    return textStyle(22, QFont::Bold);
}

QFont Theme::countdown() {
    return textStyle(20, QFont::DemiBold);
}

QFont Theme::statFigure() {
    return textStyle(15, QFont::DemiBold);
}

QFont Theme::statLabel() {
    return textStyle(10);
}

QFont Theme::segmentLabel() {
    return textStyle(8, QFont::Medium);
}

QFont Theme::display(double size, FontWeight weight) {
    // The family has letters of a second design for large sizes.
    constexpr double large = 28;
    QFont font = QGuiApplication::font();
    font.setFamilies(size < large
                         ? QStringList{QStringLiteral("Inter"), font.family()}
                         : QStringList{QStringLiteral("Inter Display"), QStringLiteral("Inter"), font.family()});
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
    switch (weight) {
    case FontWeight::thin:
        font.setWeight(QFont::Thin);
        break;
    case FontWeight::regular:
        font.setWeight(QFont::Normal);
        break;
    case FontWeight::semibold:
        font.setWeight(QFont::DemiBold);
        break;
    }
    return font;
}

} // namespace nocta
