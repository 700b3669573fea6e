#include "Core/FilterTimeline.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace nocta {

namespace {

/// Far less than a frame, so that at most one write falls into a step.
constexpr std::chrono::nanoseconds step = std::chrono::milliseconds(5);

std::string line(const char* what, const ScreenEvent& event) {
    std::ostringstream stream;
    stream << what << ' ' << event;
    return stream.str();
}

std::chrono::nanoseconds rounded(Seconds time) {
    return std::chrono::round<std::chrono::nanoseconds>(time);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const ScreenEvent& event) {
    stream << (event.kind == ScreenEvent::Kind::write ? "write" : "restore") << " at " << event.time.count() << " ns "
           << event.factors << " to";
    for (const DisplayID display : event.displays) {
        stream << ' ' << display;
    }
    return stream;
}

std::size_t FilterTimeline::Screen::activeDisplays(std::span<DisplayID> buffer) {
    std::copy_n(connected.begin(), std::min(connected.size(), buffer.size()), buffer.begin());
    return connected.size();
}

void FilterTimeline::Screen::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                                  std::span<const float> blue) {
    loaded.push_back(display);
    whites.push_back({red.back(), green.back(), blue.back()});
}

void FilterTimeline::Screen::flush() {
    events.push_back({.kind = ScreenEvent::Kind::write, .time = loop.elapsed(), .factors = {}, .displays = loaded});
    loaded.clear();
}

void FilterTimeline::Screen::restoreCalibration() {
    events.push_back({.kind = ScreenEvent::Kind::restore, .time = loop.elapsed(), .factors = {}, .displays = {}});
}

FilterTimeline::FilterTimeline() {
    Platform installed = Platform::current();
    installed.displays = &screen;
    Platform::install(installed);
}

void FilterTimeline::call(const std::function<void(FilterEngine&)>& request) {
    request(*engine);
    completeLastEvent();
}

void FilterTimeline::advance(Seconds duration) {
    const auto end = platform.runLoop.elapsed() + rounded(duration);
    while (platform.runLoop.elapsed() < end) {
        platform.advance(std::min(step, end - platform.runLoop.elapsed()));
        completeLastEvent();
    }
}

void FilterTimeline::expectWrite(Seconds time, const Factors& factors, std::vector<DisplayID> displays) {
    expected.push_back(
        {.kind = ScreenEvent::Kind::write, .time = rounded(time), .factors = factors, .displays = std::move(displays)});
}

void FilterTimeline::expectRestore(Seconds time) {
    expected.push_back({.kind = ScreenEvent::Kind::restore, .time = rounded(time), .factors = {}, .displays = {}});
}

void FilterTimeline::expectFrames(Seconds start, const Factors& from, const Factors& to, std::int64_t frames,
                                  std::int64_t first, std::int64_t last, const std::vector<DisplayID>& displays) {
    for (std::int64_t frame = first; frame <= last; ++frame) {
        expected.push_back({.kind = ScreenEvent::Kind::write,
                            .time = rounded(start) + frameTime(frame),
                            .factors = fadeFrame(from, to, frame, frames),
                            .displays = displays});
    }
}

std::vector<std::string> FilterTimeline::differences() const {
    std::vector<std::string> lines = faults;
    const std::size_t common = std::min(expected.size(), screen.events.size());
    for (std::size_t i = 0; i < common; ++i) {
        const ScreenEvent& wanted = expected[i];
        const ScreenEvent& seen = screen.events[i];
        if (wanted.kind != seen.kind || wanted.time != seen.time || wanted.displays != seen.displays ||
            !areNear(wanted.factors, seen.factors)) {
            lines.push_back(line("expected", wanted) + line(", but saw", seen));
        }
    }
    for (std::size_t i = common; i < expected.size(); ++i) {
        lines.push_back(line("missing", expected[i]));
    }
    for (std::size_t i = common; i < screen.events.size(); ++i) {
        lines.push_back(line("too many", screen.events[i]));
    }
    return lines;
}

void FilterTimeline::completeLastEvent() {
    if (screen.events.size() == completed) {
        return;
    }
    if (screen.events.size() > completed + 1) {
        faults.push_back(line("more than one event by", screen.events.back()));
    }
    completed = screen.events.size();
    ScreenEvent& event = screen.events.back();
    event.factors = FilterEngineInspector(*engine).current();
    // Single precision holds seven digits.
    constexpr double tolerance = 1e-6;
    for (const auto& [red, green, blue] : screen.whites) {
        const Factors& factors = event.factors;
        if (!(std::abs(static_cast<double>(red) - factors.r * factors.brightness) < tolerance) ||
            !(std::abs(static_cast<double>(green) - factors.g * factors.brightness) < tolerance) ||
            !(std::abs(static_cast<double>(blue) - factors.b * factors.brightness) < tolerance)) {
            faults.push_back(line("the tables do not hold the factors of", event));
        }
    }
    screen.whites.clear();
}

} // namespace nocta
