#include "Platform/Sway/SwayPanel.h"

#include "Platform/Sway/SwaySocket.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRect>

namespace nocta {

namespace {

/// Of the output, or of the workspace, that has the keyboard: what the panels leave of the output, and less by the gaps
/// on all sides. Nothing where sway names none.
std::optional<QRect> focusedRectangle(std::uint32_t question) {
    SwaySocket socket;
    if (!socket.isConnected()) {
        return std::nullopt;
    }
    socket.send(question, {});
    const auto answer = socket.await();
    if (!answer) {
        return std::nullopt;
    }
    for (const auto& each : QJsonDocument::fromJson(QByteArray::fromStdString(answer->payload)).array()) {
        const auto object = each.toObject();
        if (object[QStringLiteral("focused")].toBool()) {
            const auto rectangle = object[QStringLiteral("rect")].toObject();
            const auto value = [&](const char* key) { return rectangle[QLatin1String(key)].toInt(); };
            return QRect(value("x"), value("y"), value("width"), value("height"));
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Side> sideOfSwayPanel() {
    const auto screen = focusedRectangle(SwaySocket::getOutputs);
    const auto workspace = screen ? focusedRectangle(SwaySocket::getWorkspaces) : std::nullopt;
    if (!workspace) {
        return std::nullopt;
    }
    const std::array<std::pair<int, Side>, 4> kept{{{workspace->top() - screen->top(), Side::top},
                                                    {screen->bottom() - workspace->bottom(), Side::bottom},
                                                    {workspace->left() - screen->left(), Side::left},
                                                    {screen->right() - workspace->right(), Side::right}}};
    const auto [least, most] = std::ranges::minmax_element(kept, {}, &std::pair<int, Side>::first);
    return least->first < most->first ? std::optional(most->second) : std::nullopt;
}

} // namespace nocta
