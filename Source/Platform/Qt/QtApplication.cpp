#include "Platform/Qt/QtApplication.h"

#include <QLoggingCategory>

namespace nocta {

namespace {

/// Keeps out what a desktop lets Qt load into every program (its theme with a second toolkit, OpenGL): it costs more
/// than all of ours, and its timers would wake a process that is meant to sleep.
void prepareEnvironment(const char* platformName) {
    qputenv("QT_QPA_PLATFORM", platformName);
    qputenv("QT_XCB_GL_INTEGRATION", "none");
    qputenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none");
    qputenv("QT_WAYLAND_DISABLE_HW_INTEGRATION", "1"); // or the compositor chooses one
    // On Wayland, windows that ask for it get no role from Qt: this program gives them one.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    // That all outputs are off is nothing to complain about.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.wayland.warning=false"));
    qunsetenv("QT_QPA_PLATFORMTHEME");
    QGuiApplication::setDesktopSettingsAware(false);
}

QtMessageHandler writeMessage = nullptr;
void (*handleServerLoss)() = nullptr;

/// The one way to learn of that end: Qt says so and calls `exit`.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QStringLiteral("The X11 connection broke")) ||
        text.startsWith(QStringLiteral("The Wayland connection broke"))) {
        handleServerLoss();
    } else {
        writeMessage(type, context, text);
    }
}

} // namespace

QtApplication::QtApplication(const char* platformName, char** argv, void (*onServerLost)())
    : application((prepareEnvironment(platformName), argumentCount), argv) {
    QCoreApplication::setApplicationName(QStringLiteral("nocta"));
    handleServerLoss = onServerLost;
    writeMessage = qInstallMessageHandler(&handleMessage);
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
    // What a task bar shows are windows, and this process opens none of that kind; what is left of the policy is that
    // the program lives on without them.
    QCoreApplication::setQuitLockEnabled(policy == ActivationPolicy::regular);
    QGuiApplication::setQuitOnLastWindowClosed(policy == ActivationPolicy::regular);
}

void QtApplication::run(ApplicationDelegate& delegate) {
    delegate.applicationDidFinishLaunching();
    if (!isEnding) {
        QCoreApplication::exec();
    }
    delegate.applicationWillTerminate();
}

void QtApplication::terminate() {
    isEnding = true;
    // Not quit(), which first closes every window, before those who show them have given the keyboard back.
    QCoreApplication::exit();
}

} // namespace nocta
