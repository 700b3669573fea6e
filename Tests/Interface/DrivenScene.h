#pragma once

#include "Core/FreshPlatform.h"
#include "Interface/Scene.h"
#include "Interface/XcbApplication.h"
#include "Support/DrivenInput.h"

#include <cstdint>
#include <memory>
#include <string>

#include <QtGlobal>

#include <gtest/gtest.h>

namespace nocta::test {

/// A scene in a real window on a private X server, and somebody in front of it. What Qt warns of fails the test.
class DrivenSceneTest : public testing::Test {
  protected:
    static constexpr std::uint8_t leftButton = 1;
    static constexpr std::uint8_t wheelUp = 4;
    static constexpr std::uint8_t wheelDown = 5;

    DrivenSceneTest() {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
            // The server of the test is nobody's session.
            if (!message.startsWith(QLatin1String("QStandardPaths"))) {
                ADD_FAILURE() << message.toStdString();
            }
        });
        input.setLayout({"-layout", "us"});
    }
    ~DrivenSceneTest() override {
        scene.reset();
        qInstallMessageHandler(nullptr);
    }

    template <class Source>
    void show(const Source& source, const QVariantMap& properties = {}) {
        scene = std::make_unique<Scene>(source, properties);
        scene->shownIn().requestActivate();
        ASSERT_TRUE(
            application.runUntil([this] { return scene->shownIn().isExposed() && scene->shownIn().isActive(); }));
    }

    /// Lets everything happen that was caused before: the server answers in the order it is asked.
    void settle() {
        bool arrived = false;
        input.server().synchronize();
        QCoreApplication::sendPostedEvents();
        const auto marker = [&arrived] { arrived = true; };
        QMetaObject::invokeMethod(&scene->shownIn(), marker, Qt::QueuedConnection);
        ASSERT_TRUE(application.runUntil([&] { return arrived; }));
    }

    [[nodiscard]] AccessibleItem find(const std::string& name) const { return scene->find(name); }

    void pointAt(const QPoint& place) const {
        input.movePointer(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
    }
    void pointAt(const std::string& name) const { pointAt(find(name).frame().center()); }
    void click(const std::string& name) const {
        pointAt(name);
        input.click(leftButton);
    }
    void type(std::uint8_t key) const { input.type({key}); }
    void typeTogether(std::uint8_t modifier, std::uint8_t key) const { input.type({modifier, key}); }

    XcbApplication application;
    SimulatedPlatform& world = freshPlatform();
    DrivenInput input;
    std::unique_ptr<Scene> scene;
};

} // namespace nocta::test
