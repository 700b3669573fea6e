#include "Platform/KWin/KWinScriptWorkspace.h"

#include "Platform/Bus/BusNameOwner.h"
#include "Platform/Bus/SessionBusName.h"

#include <functional>
#include <utility>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVirtualObject>
#include <QDir>
#include <QObject>
#include <QString>
#include <QTemporaryFile>
#include <QVariantList>

namespace nocta {

namespace {

const QString kwinName = QStringLiteral("org.kde.KWin");
const QString scriptName = QStringLiteral("org.nocta.Nocta.front");

const QString callbackPath = QStringLiteral("/org/nocta/KWinScript");
const QString callbackInterface = QStringLiteral("org.nocta.KWinScript");
const QString callbackMember = QStringLiteral("Activated");

/// What KWin runs. `workspace` speaks as in Plasma 6, or else as in Plasma 5.
///
/// What has no place in the taskbar and can be neither moved nor resized is a panel or a panel's menu, and so is
/// whatever belongs to plasmashell. KWin hands out the name of this program on the bus to no other one, so that what it
/// calls is Nocta or nobody; after a call without an answer the script asks the bus which, and ends for nobody.
const QString scriptText = QStringLiteral(R"js("use strict";
const nocta = "%1", noctaProcess = %2;
const activated = workspace.windowActivated || workspace.clientActivated;
let isUnanswered = false;

function isApplication(window) {
    return window && window.pid !== noctaProcess && !window.desktopWindow && !window.dock && !window.notification &&
        !window.onScreenDisplay && !(window.skipTaskbar && !window.moveable && !window.resizeable && !window.fullScreen) &&
        String(window.resourceClass) !== "plasmashell" && String(window.desktopFileName) !== "org.kde.plasmashell";
}

function report(window, isNews) {
    if (!isApplication(window)) {
        return;
    }
    if (isUnanswered) {
        callDBus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner", nocta,
            function (isThere) {
                if (!isThere) {
                    activated.disconnect(reportNews);
                }
            });
    }
    isUnanswered = true;
    callDBus(nocta, "%3", "%4", "%5", String(window.desktopFileName), String(window.resourceName),
        String(window.resourceClass), isNews, function () { isUnanswered = false; });
}

function reportNews(window) {
    report(window, true);
}

activated.connect(reportNews);
report(workspace.activeWindow || workspace.activeClient, false);
)js");

QDBusMessage scripting(const QString& member, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(kwinName, QStringLiteral("/Scripting"),
                                                  QStringLiteral("org.kde.kwin.Scripting"), member);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return message;
}

} // namespace

class KWinScriptWorkspace::Script final : public QDBusVirtualObject {
  public:
    explicit Script(FrontApplication& front) : front(front), kwin(kwinName, [this] { load(); }) {
        bus.registerVirtualObject(callbackPath, this, QDBusConnection::SingleNode);
    }
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;
    ~Script() override {
        if (!kwin.get().isEmpty()) {
            bus.send(scripting(QStringLiteral("unloadScript"), {scriptName}));
        }
        bus.unregisterObject(callbackPath);
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        // Whatever another program says of windows is none of its business.
        if (message.service() != kwin.get() || message.interface() != callbackInterface ||
            message.member() != callbackMember || message.signature() != QStringLiteral("sssb")) {
            return false;
        }
        connection.send(message.createReply());
        const auto arguments = message.arguments();
        const bool isNews = arguments.at(3).toBool();
        front.cameToFront({.application = desktopFileId(arguments.at(0).toString().toStdString()),
                           .instance = arguments.at(1).toString().toStdString(),
                           .className = arguments.at(2).toString().toStdString()},
                          isNews || loads > 1);
        return true;
    }

  private:
    /// Gives the script to the KWin that is there now.
    void load() {
        loading = std::make_unique<QObject>();
        file.reset();
        if (kwin.get().isEmpty()) {
            return;
        }
        ++loads;
        // KWin takes no script of a name that it has already: of a Nocta that was killed.
        ask(scripting(QStringLiteral("unloadScript"), {scriptName}), [this](const QDBusMessage&) { loadNew(); });
    }

    void loadNew() {
        if (!write()) {
            return;
        }
        ask(scripting(QStringLiteral("loadScript"), {file->fileName(), scriptName}), [this](const QDBusMessage& reply) {
            const int number = reply.arguments().value(0, -1).toInt();
            if (reply.type() == QDBusMessage::ReplyMessage && number >= 0) {
                run(QStringLiteral("/%1").arg(number), [this, number] {
                    // Where Plasma 6 has it.
                    run(QStringLiteral("/Scripting/Script%1").arg(number), [] {});
                });
            }
        });
    }

    void run(const QString& path, std::function<void()> otherwise) {
        auto call = QDBusMessage::createMethodCall(kwinName, path, QStringLiteral("org.kde.kwin.Script"),
                                                   QStringLiteral("run"));
        call.setAutoStartService(false);
        ask(call, [this, otherwise = std::move(otherwise)](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ReplyMessage) {
                file.reset(); // KWin has read it
            } else {
                otherwise();
            }
        });
    }

    /// Calls `take` with the answer, unless KWin has been replaced meanwhile.
    void ask(const QDBusMessage& message, std::function<void(const QDBusMessage&)> take) {
        auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(message), loading.get());
        QObject::connect(answer, &QDBusPendingCallWatcher::finished, loading.get(), [answer, take = std::move(take)] {
            answer->deleteLater();
            take(answer->reply());
        });
    }

    /// For nobody but this user and KWin, which runs whatever it reads there.
    bool write() {
        const QString runtimeFolder = qEnvironmentVariable("XDG_RUNTIME_DIR");
        const QString folder = QDir(runtimeFolder).isAbsolute() ? runtimeFolder : QDir::tempPath();
        file = std::make_unique<QTemporaryFile>(folder + QStringLiteral("/nocta-XXXXXX.js"));
        const auto text = scriptText.arg(bus.baseService(), QString::number(QCoreApplication::applicationPid()),
                                         callbackPath, callbackInterface, callbackMember);
        return file->open() && file->write(text.toUtf8()) >= 0 && file->flush();
    }

    FrontApplication& front;
    QDBusConnection bus = QDBusConnection::sessionBus();
    std::unique_ptr<QTemporaryFile> file; ///< until KWin has read it
    std::unique_ptr<QObject> loading;
    int loads = 0;
    BusNameOwner kwin; // destroyed first: nothing is loaded any more
};

KWinScriptWorkspace::KWinScriptWorkspace(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders)
    : front(loop, std::move(desktopFileFolders),
            {.onFirstObserver =
                 [this] {
                     if (available) {
                         script = std::make_unique<Script>(front);
                     }
                 },
             .onLastObserver = [this] { script.reset(); }}),
      // On X11 KWin has the same name, and other ways are simpler.
      available(!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && !BusNameOwner::find(kwinName).isEmpty()) {}

KWinScriptWorkspace::~KWinScriptWorkspace() = default;

std::unique_ptr<WorkspaceObserver> KWinScriptWorkspace::addActivationObserver(ActivationHandler handler) {
    return front.addObserver(std::move(handler));
}

} // namespace nocta
