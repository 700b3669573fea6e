// draw-days FILE.png: what the schedule does to a display from midnight to midnight, in three cities and two seasons.
//
// Nothing in the picture is drawn from the schedule's rules. The real scheduler and filter engine live through each day
// on the simulated platform, whose display notes every table it is handed, the frames of the fades included; colour
// temperature, brightness and colour are read back from those tables.

#include "Core/AppState.h"
#include "Core/CircadianScheduler.h"
#include "Core/Preset.h"
#include "Core/SunTimes.h"
#include "Light.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <QColor>
#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QString>

namespace {

using namespace nocta; // NOLINT(google-build-using-namespace)

constexpr double dayHours = 24;

struct Place {
    const char* name = "";
    Location location;
    std::array<Seconds, 2> offsets{}; ///< of local time from UTC, in each of the seasons
};

struct Season {
    const char* name = "";
    std::chrono::month_day date = std::chrono::January / 1;
};

constexpr Seconds hours(double count) {
    return Seconds(count * 3600);
}

constexpr std::chrono::year year{2026};

constexpr std::array seasons{Season{"21 June", std::chrono::June / 21},
                             Season{"21 December", std::chrono::December / 21}};

constexpr std::array places{Place{"Reykjavik", {64.147, -21.942}, {hours(0), hours(0)}},
                            Place{"New York", {40.713, -74.006}, {hours(-4), hours(-5)}},
                            Place{"Sydney", {-33.869, 151.209}, {hours(10), hours(11)}}};

/// What white is on the display from an hour of the day on.
struct Moment {
    double hour = 0;
    double red = 1;
    double green = 1;
    double blue = 1;
    Light light{.kelvin = 6500, .brightness = 1};

    [[nodiscard]] QColor color() const {
        return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
    }
};

struct Day {
    std::vector<Moment> moments; ///< the first at midnight
    double sunrise = 0;          ///< hour
    double sunset = 0;
};

/// A display that notes what white becomes, and when.
class NotedDisplay final : public DisplayService {
  public:
    explicit NotedDisplay(const Clock& clock) : clock(clock) {}

    struct Note {
        Instant time;
        Moment moment;
    };
    std::vector<Note> notes;

    [[nodiscard]] bool isAvailable() const override { return true; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override {
        std::ranges::fill(buffer, DisplayID{1});
        return 1;
    }
    void load(DisplayID /*display*/, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override {
        Moment moment{.red = static_cast<double>(red.back()),
                      .green = static_cast<double>(green.back()),
                      .blue = static_cast<double>(blue.back())};
        moment.light = lightOf(moment.red, moment.green, moment.blue);
        notes.push_back({.time = clock.now(), .moment = moment});
    }
    void flush() override {}
    void reload() override {}
    void restoreCalibration() override {}

  private:
    const Clock& clock;
};

/// The world in which the days pass, one after the other.
class World {
  public:
    World() {
        platform.settings.setBoolean("scheduleEnabled", true);
        platform.install();
        auto record = Platform::current();
        record.displays = &display;
        Platform::install(record);
        CircadianScheduler::shared().start();
    }

    Day live(const Place& place, std::size_t season) {
        const auto date = std::chrono::sys_days(year / seasons[season].date.month() / seasons[season].date.day());
        platform.calendar.offset = place.offsets[season];
        const Instant midnight = Instant(date) - place.offsets[season];
        // The last hours of the day before settle what stands on the screen; the day begins with what the step at
        // midnight has made of it.
        const Seconds before = hours(6);
        const Seconds firstFade(10);
        platform.jump(midnight - before - platform.clock.now());
        CircadianScheduler::shared().requestLocation();
        platform.location.deliver(std::span(&place.location, 1));
        platform.advance(before + firstFade);
        const Moment atMidnight = display.notes.back().moment;
        display.notes.clear();
        platform.advance(hours(dayHours) - firstFade);

        const auto hourOf = [&](Instant time) { return (time - midnight).count() / 3600; };
        Day day;
        day.moments.push_back(atMidnight);
        for (auto& note : display.notes) {
            day.moments.push_back(note.moment);
            day.moments.back().hour = hourOf(note.time);
        }
        const auto sun = sunMinutes(platform.calendar.dayOfYear(midnight).value(), place.location.latitude,
                                    place.location.longitude);
        if (!sun) {
            throw std::runtime_error(std::string("the sun does not rise or does not set in ") + place.name);
        }
        day.sunrise = sun->sunrise / 60 + place.offsets[season].count() / 3600;
        day.sunset = sun->sunset / 60 + place.offsets[season].count() / 3600;
        return day;
    }

  private:
    SimulatedPlatform platform;
    NotedDisplay display{platform.clock};
};

// --- The picture ---

constexpr double scale = 2; ///< pixels of the file for one of the layout

namespace layout {
constexpr double width = 1040;
constexpr double margin = 40;
constexpr double header = 84;
constexpr double ladder = 122; ///< left of the panels, for the presets' names
constexpr double gap = 36;     ///< between the columns
constexpr double panelWidth = (width - 2 * margin - ladder - gap) / 2;
constexpr double title = 24;
constexpr double sunTimes = 20;
constexpr double temperature = 136;
constexpr double between = 8; ///< the two curves of a panel
constexpr double brightness = 44;
constexpr double hoursBelow = 24;
constexpr double panelHeight = title + sunTimes + temperature + between + brightness + hoursBelow;
constexpr double rowGap = 26;
constexpr double height = margin + header + 3 * panelHeight + 2 * rowGap + margin - 10;
} // namespace layout

namespace ink {
const QColor paper(0xFB, 0xFA, 0xF7);
const QColor night(0xE3, 0xE2, 0xE6);
const QColor daylight(0xF1, 0xEF, 0xEA);
const QColor strong(0x26, 0x24, 0x22);
const QColor medium(0x5F, 0x5B, 0x57);
const QColor faint(0x26, 0x24, 0x22, 0x22);
const QColor sun(0xC8, 0x6A, 0x00);
} // namespace ink

QFont font(double size, QFont::Weight weight = QFont::Normal) {
    QFont result(QStringLiteral("Inter"));
    result.setPixelSize(static_cast<int>(size));
    result.setWeight(weight);
    result.setHintingPreference(QFont::PreferNoHinting);
    return result;
}

constexpr QChar rising(0x2191);  // an arrow upwards
constexpr QChar setting(0x2193); // and one downwards

enum class Align { left, center, right };

/// Digits all take the width of a zero, so that figures stand in columns.
void drawText(QPainter& painter, QPointF baseline, const QString& text, Align align = Align::left) {
    const QFontMetricsF metrics(painter.font(), painter.device());
    const double cell = metrics.horizontalAdvance(QLatin1Char('0'));
    const auto advance = [&](QChar c) { return c.isDigit() ? cell : metrics.horizontalAdvance(c); };
    double width = 0;
    for (const QChar c : text) {
        width += advance(c);
    }
    double x = baseline.x() - (align == Align::left ? 0 : align == Align::center ? width / 2 : width);
    for (const QChar c : text) {
        const double own = metrics.horizontalAdvance(c);
        painter.drawText(QPointF(x + (advance(c) - own) / 2, baseline.y()), QString(c));
        x += advance(c);
    }
}

QString clockTime(double hour) {
    const int minutes = static_cast<int>(hour * 60);
    return QStringLiteral("%1:%2")
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

/// The presets that the schedule uses, warmest first: the rungs of the panels' scales.
std::vector<const Preset*> rungs() {
    std::vector<const Preset*> presets;
    for (const char* id : {"sleep", "evening", "dusk", "focus", "natural"}) {
        presets.push_back(builtInPreset(id));
    }
    return presets;
}

/// One day: the temperature above, the brightness below.
class Panel {
  public:
    Panel(QPainter& painter, QPointF corner, const Day& day)
        : painter(painter),
          day(day),
          above(corner.x(), corner.y() + layout::title + layout::sunTimes, layout::panelWidth, layout::temperature),
          below(corner.x(), above.bottom() + layout::between, layout::panelWidth, layout::brightness) {}

    void draw(const QString& title) {
        painter.setFont(font(14, QFont::DemiBold));
        painter.setPen(ink::strong);
        painter.drawText(QPointF(above.left(), above.top() - layout::sunTimes - 8), title);
        drawGround(above);
        drawGround(below);
        drawCurve(above, [this](const Light& light) { return temperatureY(static_cast<double>(light.kelvin)); });
        drawCurve(below, [this](const Light& light) { return brightnessY(light.brightness); });
        drawGrid();
        drawSun(day.sunrise, true);
        drawSun(day.sunset, false);
        drawHours();
    }

    void drawLadder() const {
        const double nameLeft = above.left() - layout::ladder;
        const double valueRight = above.left() - 12;
        for (const Preset* preset : rungs()) {
            const double y = temperatureY(static_cast<double>(preset->colorTemp)) + 4;
            painter.setFont(font(11, QFont::Medium));
            painter.setPen(ink::strong);
            painter.drawText(QPointF(nameLeft, y), QString::fromStdString(preset->name));
            painter.setFont(font(11));
            painter.setPen(ink::medium);
            drawText(painter, {valueRight, y}, QStringLiteral("%1 K").arg(preset->colorTemp), Align::right);
        }
        painter.setFont(font(11, QFont::Medium));
        painter.setPen(ink::strong);
        painter.drawText(QPointF(nameLeft, brightnessY(1) + 6), QStringLiteral("Brightness"));
        painter.setFont(font(11));
        painter.setPen(ink::medium);
        drawText(painter, {valueRight, brightnessY(1) + 6}, QStringLiteral("100 %"), Align::right);
        drawText(painter, {valueRight, brightnessY(0.5) + 4}, QStringLiteral("50 %"), Align::right);
        drawText(painter, {valueRight, brightnessY(0) + 2}, QStringLiteral("0 %"), Align::right);
    }

  private:
    [[nodiscard]] double x(double hour) const { return above.left() + above.width() * hour / dayHours; }
    [[nodiscard]] double temperatureY(double kelvin) const {
        constexpr double bottom = 1300;
        constexpr double top = 7000;
        return above.bottom() - above.height() * (kelvin - bottom) / (top - bottom);
    }
    [[nodiscard]] double brightnessY(double brightness) const { return below.bottom() - below.height() * brightness; }

    void drawGround(const QRectF& area) {
        painter.fillRect(area, ink::night);
        painter.fillRect(QRectF(QPointF(x(day.sunrise), area.top()), QPointF(x(day.sunset), area.bottom())),
                         ink::daylight);
    }

    template <class Height>
    void drawCurve(const QRectF& area, Height height) {
        std::vector<QPointF> line;
        for (std::size_t i = 0; i < day.moments.size(); ++i) {
            const auto& moment = day.moments[i];
            const double end = i + 1 < day.moments.size() ? day.moments[i + 1].hour : dayHours;
            const double y = height(moment.light);
            line.emplace_back(x(moment.hour), y);
            line.emplace_back(x(end), y);
            painter.fillRect(QRectF(QPointF(x(moment.hour), y), QPointF(x(end), area.bottom())), moment.color());
        }
        painter.setPen(QPen(ink::strong, 1.25, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
        painter.drawPolyline(line.data(), static_cast<int>(line.size()));
    }

    void drawGrid() {
        painter.setPen(QPen(ink::faint, 0.75));
        for (const Preset* preset : rungs()) {
            const double y = temperatureY(static_cast<double>(preset->colorTemp));
            painter.drawLine(QPointF(above.left(), y), QPointF(above.right(), y));
        }
        painter.drawLine(QPointF(below.left(), brightnessY(0.5)), QPointF(below.right(), brightnessY(0.5)));
    }

    void drawSun(double hour, bool rises) {
        painter.setPen(QPen(ink::sun, 1.25, Qt::DotLine, Qt::FlatCap));
        painter.drawLine(QPointF(x(hour), above.top() - 3), QPointF(x(hour), below.bottom()));
        painter.setFont(font(11, QFont::Medium));
        painter.setPen(ink::sun);
        const bool isAtTheEdge = x(hour) > above.right() - layout::panelWidth / 20;
        drawText(painter, {isAtTheEdge ? above.right() : x(hour), above.top() - 8},
                 QString(rises ? rising : setting) + QLatin1Char(' ') + clockTime(hour),
                 isAtTheEdge ? Align::right : Align::center);
    }

    void drawHours() {
        painter.setFont(font(11));
        painter.setPen(ink::medium);
        for (int hour = 0; hour <= 24; hour += 6) {
            const Align align = hour == 0 ? Align::left : hour == 24 ? Align::right : Align::center;
            drawText(painter, {x(hour), below.bottom() + 16}, clockTime(hour), align);
        }
    }

    QPainter& painter;
    const Day& day;
    QRectF above;
    QRectF below;
};

QImage draw() {
    QImage picture(static_cast<int>(layout::width * scale), static_cast<int>(layout::height * scale),
                   QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink::paper);
    painter.drawRoundedRect(QRectF(0, 0, layout::width, layout::height), 12, 12);
    painter.setBrush(Qt::NoBrush);

    painter.setPen(ink::strong);
    painter.setFont(font(22, QFont::DemiBold));
    painter.drawText(QPointF(layout::margin, layout::margin + 22), QStringLiteral("A day on the schedule"));
    painter.setPen(ink::medium);
    painter.setFont(font(13));
    painter.drawText(
        QPointF(layout::margin, layout::margin + 48),
        QStringLiteral("Colour temperature and brightness from midnight to midnight, local time. Each area "
                       "has the colour of a white page then."));
    painter.setFont(font(11, QFont::Medium));
    painter.setPen(ink::sun);
    drawText(painter, {layout::width - layout::margin, layout::margin + 22},
             QStringLiteral("%1 sunrise   %2 sunset").arg(rising).arg(setting), Align::right);

    World world;
    for (std::size_t row = 0; row < places.size(); ++row) {
        for (std::size_t column = 0; column < seasons.size(); ++column) {
            const Day day = world.live(places[row], column);
            const QPointF corner(
                layout::margin + layout::ladder + static_cast<double>(column) * (layout::panelWidth + layout::gap),
                layout::margin + layout::header + static_cast<double>(row) * (layout::panelHeight + layout::rowGap));
            Panel panel(painter, corner, day);
            panel.draw(
                QStringLiteral("%1, %2").arg(QLatin1String(places[row].name), QLatin1String(seasons[column].name)));
            if (column == 0) {
                panel.drawLadder();
            }
        }
    }
    return picture;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: draw-days FILE.png\n", stderr);
        return 1;
    }
    try {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        const QGuiApplication application(argc, argv);
        if (!QFontDatabase::families().contains(QStringLiteral("Inter"))) {
            throw std::runtime_error("the font Inter is not installed");
        }
        if (!draw().save(QString::fromLocal8Bit(argv[1]), "PNG")) {
            throw std::runtime_error(std::string("cannot write ") + argv[1]);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "draw-days: %s\n", error.what());
        return 1;
    }
    return 0;
}
