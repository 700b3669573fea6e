#include "Platform/DBus/NotifierStatusItem.h"

#include "Platform/Bus/BusNames.h"
#include "Platform/Bus/SessionBusName.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/DBusMenu.h"

#include <array>
#include <utility>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QTimer>
#include <QtEndian>

namespace nocta {

namespace {

const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");
const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");

/// What panels have icons of, and the doubles of that for displays of scale 2.
constexpr std::array<std::int32_t, 8> pictureSizes{16, 22, 24, 32, 44, 48, 64, 96};

/// A picture as it goes over the bus: 32-bit pixels in network order.
struct Pixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;
};
using Pixmaps = QList<Pixmap>;

QDBusArgument& operator<<(QDBusArgument& argument, const Pixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Pixmap& pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

struct ToolTip {
    QString iconName;
    Pixmaps pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

Pixmap pixmap(const Raster& raster) {
    QByteArray bytes(static_cast<qsizetype>(raster.pixels.size() * sizeof(std::uint32_t)), Qt::Uninitialized);
    qToBigEndian<std::uint32_t>(raster.pixels.data(), static_cast<qsizetype>(raster.pixels.size()), bytes.data());
    return {.width = raster.size, .height = raster.size, .pixels = std::move(bytes)};
}

QDBusMessage busCall(const QString& member, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(busService, busPath, busService, member);
    message.setArguments(arguments);
    return message;
}

} // namespace

/// The item as the bus sees it.
class NotifierStatusItem::Item final : public QDBusVirtualObject {
  public:
    explicit Item(SymbolPainter paint) : paint(std::move(paint)) {
        qDBusRegisterMetaType<Pixmap>();
        qDBusRegisterMetaType<Pixmaps>();
        qDBusRegisterMetaType<ToolTip>();
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override {
        return QStringLiteral(R"xml(<interface name="org.kde.StatusNotifierItem">
    <property name="Category" type="s" access="read"/>
    <property name="Id" type="s" access="read"/>
    <property name="Title" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="WindowId" type="i" access="read"/>
    <property name="IconName" type="s" access="read"/>
    <property name="IconPixmap" type="a(iiay)" access="read"/>
    <property name="IconAccessibleDesc" type="s" access="read"/>
    <property name="OverlayIconName" type="s" access="read"/>
    <property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
    <property name="AttentionIconName" type="s" access="read"/>
    <property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
    <property name="AttentionMovieName" type="s" access="read"/>
    <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
    <property name="ItemIsMenu" type="b" access="read"/>
    <property name="Menu" type="o" access="read"/>
    <property name="XAyatanaLabel" type="s" access="read"/>
    <property name="XAyatanaLabelGuide" type="s" access="read"/>
    <method name="Activate">
      <arg name="x" type="i" direction="in"/>
      <arg name="y" type="i" direction="in"/>
    </method>
    <method name="SecondaryActivate">
      <arg name="x" type="i" direction="in"/>
      <arg name="y" type="i" direction="in"/>
    </method>
    <method name="ContextMenu">
      <arg name="x" type="i" direction="in"/>
      <arg name="y" type="i" direction="in"/>
    </method>
    <method name="Scroll">
      <arg name="delta" type="i" direction="in"/>
      <arg name="orientation" type="s" direction="in"/>
    </method>
    <method name="ProvideXdgActivationToken">
      <arg name="token" type="s" direction="in"/>
    </method>
    <signal name="NewIcon"/>
    <signal name="NewToolTip"/>
    <signal name="XAyatanaNewLabel">
      <arg name="label" type="s"/>
      <arg name="guide" type="s"/>
    </signal>
  </interface>
)xml");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const auto arguments = message.arguments();
        if (message.interface() == propertiesInterface) {
            if (message.member() == QStringLiteral("Get") && message.signature() == QStringLiteral("ss")) {
                const QVariant value = property(arguments[1].toString());
                return value.isValid() &&
                       connection.send(message.createReply(QVariant::fromValue(QDBusVariant(value))));
            }
            if (message.member() == QStringLiteral("GetAll") && message.signature() == QStringLiteral("s")) {
                return connection.send(message.createReply(properties()));
            }
            return false;
        }
        if (message.interface() != itemInterface) {
            return false;
        }
        const auto& member = message.member();
        const bool takesPlace = message.signature() == QStringLiteral("ii");
        if (member == QStringLiteral("Activate") && takesPlace) {
            release(mouseevent::leftUp, arguments[0].toInt(), arguments[1].toInt());
        } else if (member == QStringLiteral("ContextMenu") && takesPlace) {
            release(mouseevent::rightUp, arguments[0].toInt(), arguments[1].toInt());
        } else if (!(member == QStringLiteral("SecondaryActivate") && takesPlace) &&
                   !(member == QStringLiteral("Scroll") && message.signature() == QStringLiteral("is")) &&
                   !(member == QStringLiteral("ProvideXdgActivationToken") &&
                     message.signature() == QStringLiteral("s"))) {
            return false;
        }
        return connection.send(message.createReply());
    }

    [[nodiscard]] QVariant property(const QString& name) const {
        // Drawn only for whoever asks for it.
        if (name == QStringLiteral("IconPixmap")) {
            return QVariant::fromValue(pictures());
        }
        return plainProperties().value(name);
    }

    [[nodiscard]] QVariantMap properties() const {
        auto all = plainProperties();
        all.insert(QStringLiteral("IconPixmap"), QVariant::fromValue(pictures()));
        return all;
    }

    /// The title without the blanks that set it apart from the image.
    [[nodiscard]] QString score() const { return QString::fromStdString(button.title).trimmed(); }
    [[nodiscard]] QString label() const { return hostShowsLabels ? score() : QString(); }
    [[nodiscard]] QString caption() const { return hostShowsLabels ? QString() : score(); }

    StatusButton button;
    bool hostShowsLabels = false;
    bool hostInsistsOnMenu = false;
    std::uint32_t mask = 0;
    std::function<void()> action;
    std::optional<Rectangle> frame;

  private:
    [[nodiscard]] Pixmaps pictures() const {
        Pixmaps all;
        for (const auto size : pictureSizes) {
            all.append(pixmap(paint(button.image, caption().toStdString(), size)));
        }
        return all;
    }

    [[nodiscard]] QVariantMap plainProperties() const {
        const QString none;
        const auto name = QString::fromStdString(button.image.accessibilityDescription);
        QVariantMap all{
            {QStringLiteral("Category"), QStringLiteral("SystemServices")},
            {QStringLiteral("Id"), QStringLiteral("org.nocta.Nocta")},
            {QStringLiteral("Title"), name},
            {QStringLiteral("Status"), QStringLiteral("Active")},
            {QStringLiteral("WindowId"), 0},
            {QStringLiteral("IconName"), none},
            {QStringLiteral("IconAccessibleDesc"), name},
            {QStringLiteral("OverlayIconName"), none},
            {QStringLiteral("OverlayIconPixmap"), QVariant::fromValue(Pixmaps())},
            {QStringLiteral("AttentionIconName"), none},
            {QStringLiteral("AttentionIconPixmap"), QVariant::fromValue(Pixmaps())},
            {QStringLiteral("AttentionMovieName"), none},
            {QStringLiteral("ToolTip"),
             QVariant::fromValue(ToolTip{
                 .iconName = {}, .pixmaps = {}, .title = name, .text = QString::fromStdString(button.toolTip)})},
            {QStringLiteral("ItemIsMenu"), false},
            {QStringLiteral("XAyatanaLabel"), label()},
            {QStringLiteral("XAyatanaLabelGuide"), QStringLiteral("100")},
        };
        // Hosts that hand a right click on do so only where there is no menu: absent, not just named so.
        if (hostInsistsOnMenu) {
            all.insert(QStringLiteral("Menu"), QVariant::fromValue(QDBusObjectPath(menuPath)));
        }
        return all;
    }

    void release(std::uint32_t event, int x, int y) {
        // A host that has no place to tell, as with the keyboard, tells the origin.
        if (x != 0 || y != 0) {
            frame = Rectangle{.x = static_cast<double>(x), .y = static_cast<double>(y)};
        }
        if ((mask & event) != 0 && action) {
            // After the answer: what is done may take longer than the host is willing to wait.
            QMetaObject::invokeMethod(QCoreApplication::instance(), action, Qt::QueuedConnection);
        }
    }

    SymbolPainter paint;
};

/// Keeps the item registered with whoever is the watcher.
class NotifierStatusItem::Registration {
  public:
    Registration(Item& item, DBusMenu& menu)
        : item(item), hostChange([this](const QDBusMessage& message) {
              if (message.service() == watcherOwner) {
                  askForHost();
              }
          }) {
        if (!isSessionBusNamed()) {
            tell(false);
            return;
        }
        bus = QDBusConnection::sessionBus();
        if (!bus.isConnected()) {
            tell(false);
            return;
        }
        bus.registerVirtualObject(itemPath, &item);
        bus.registerVirtualObject(menuPath, &menu);
        for (const auto* member : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
            hostChange.listen(bus, watcherPath, watcherService, QString::fromLatin1(member));
        }
        watcher.setConnection(bus);
        watcher.addWatchedService(watcherService);
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &context,
                         [this](const QString&, const QString&, const QString& owner) { setWatcher(owner); });
        askForOwner(watcherService, [this](const QString& owner) {
            if (watcherOwner.isEmpty()) {
                setWatcher(owner);
            }
        });
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration() {
        if (!bus.isConnected()) {
            return;
        }
        bus.unregisterObject(itemPath);
        bus.unregisterObject(menuPath);
        if (!ownName.isEmpty()) {
            bus.send(busCall(QStringLiteral("ReleaseName"), {ownName}));
        }
    }

    /// A signal of the item without arguments, or with them.
    void announce(const QString& member, const QVariantList& arguments = {}) {
        if (watcherOwner.isEmpty()) {
            return;
        }
        auto signal = QDBusMessage::createSignal(itemPath, itemInterface, member);
        signal.setArguments(arguments);
        bus.send(signal);
    }

    void setObserver(std::function<void(bool)> newObserver) {
        observer = std::move(newObserver);
        if (hasHost) {
            QTimer::singleShot(0, &context, [this] { notify(); });
        }
    }

  private:
    void ask(const QDBusMessage& message, std::function<void(const QDBusMessage&)> onAnswer) {
        auto* pending = new QDBusPendingCallWatcher(bus.asyncCall(message), &context);
        QObject::connect(pending, &QDBusPendingCallWatcher::finished, &context,
                         [pending, onAnswer = std::move(onAnswer)] {
                             pending->deleteLater();
                             onAnswer(pending->reply());
                         });
    }

    /// Hands on the unique name of who owns `name`, empty where nobody does.
    void askForOwner(const QString& name, std::function<void(const QString&)> onAnswer) {
        ask(busCall(QStringLiteral("GetNameOwner"), {name}), [onAnswer = std::move(onAnswer)](const auto& answer) {
            onAnswer(answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString() : QString());
        });
    }

    void setWatcher(const QString& owner) {
        watcherOwner = owner;
        item.hostShowsLabels = false;
        item.hostInsistsOnMenu = false;
        if (owner.isEmpty()) {
            tell(false);
            return;
        }
        lookAtHost();
    }

    /// Finds out what kind of panel this is, then registers: panels read most properties only once.
    void lookAtHost() {
        const QString owner = watcherOwner;
        // Both show labels, and answer a click with the item's menu.
        askForOwner(QStringLiteral("org.gnome.Shell"), [this, owner](const QString& shell) {
            askForOwner(
                QStringLiteral("org.ayatana.indicator.application"), [this, owner, shell](const QString& ayatana) {
                    // Shows its own menu for a right click unless the item has one. The watcher is another process of
                    // it.
                    askForOwner(QStringLiteral("org.xfce.Panel"), [this, owner, shell, ayatana](const QString& xfce) {
                        if (owner != watcherOwner) {
                            return;
                        }
                        item.hostShowsLabels = owner == shell || owner == ayatana;
                        item.hostInsistsOnMenu = item.hostShowsLabels || !xfce.isEmpty();
                        takeName();
                    });
                });
        });
    }

    /// Items are told apart by a name of this form; an item that has gone is one whose name has no owner.
    void takeName() {
        if (!ownName.isEmpty()) {
            registerItem();
            return;
        }
        static int number = 0;
        ownName =
            QStringLiteral("org.kde.StatusNotifierItem-%1-%2").arg(QCoreApplication::applicationPid()).arg(++number);
        constexpr uint doNotQueue = 4;
        ask(busCall(QStringLiteral("RequestName"), {ownName, doNotQueue}), [this](const auto&) { registerItem(); });
    }

    void registerItem() {
        if (watcherOwner.isEmpty()) {
            return;
        }
        auto message = QDBusMessage::createMethodCall(watcherOwner, watcherPath, watcherService,
                                                      QStringLiteral("RegisterStatusNotifierItem"));
        message << ownName;
        ask(message, [this, owner = watcherOwner](const QDBusMessage& answer) {
            if (owner != watcherOwner) {
                return;
            }
            if (answer.type() == QDBusMessage::ReplyMessage) {
                askForHost();
            } else {
                tell(false);
            }
        });
    }

    /// A watcher without a host keeps a list that nobody shows.
    void askForHost() {
        auto message =
            QDBusMessage::createMethodCall(watcherOwner, watcherPath, propertiesInterface, QStringLiteral("Get"));
        message << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
        ask(message, [this, owner = watcherOwner](const QDBusMessage& answer) {
            if (owner == watcherOwner && !owner.isEmpty()) {
                const auto value = answer.arguments().value(0).value<QDBusVariant>().variant();
                // Watchers that leave the property out are part of a panel.
                tell(answer.type() != QDBusMessage::ReplyMessage || value.toBool());
            }
        });
    }

    void tell(bool newHasHost) {
        if (std::exchange(hasHost, newHasHost) != newHasHost) {
            QTimer::singleShot(0, &context, [this] { notify(); });
        }
    }

    void notify() {
        if (observer) {
            const auto running = observer;
            running(*hasHost);
        }
    }

    Item& item;
    QDBusConnection bus{QString()};
    QDBusServiceWatcher watcher;
    SignalReceiver hostChange;
    QString watcherOwner;
    QString ownName;
    std::optional<bool> hasHost;
    std::function<void(bool)> observer;
    QObject context; // destroyed first: nothing answers any more
};

NotifierStatusItem::NotifierStatusItem(SymbolPainter paint)
    : item(std::make_unique<Item>(std::move(paint))),
      menu(std::make_unique<DBusMenu>()),
      registration(std::make_unique<Registration>(*item, *menu)) {}

NotifierStatusItem::~NotifierStatusItem() = default;

const StatusButton* NotifierStatusItem::button() const {
    return &item->button;
}

void NotifierStatusItem::setButton(const StatusButton& button) {
    const auto old = std::exchange(item->button, button);
    const auto& guide = QStringLiteral("100");
    if (button.image != old.image || (button.title != old.title && !item->hostShowsLabels)) {
        registration->announce(QStringLiteral("NewIcon"));
    }
    if (button.title != old.title && item->hostShowsLabels) {
        registration->announce(QStringLiteral("XAyatanaNewLabel"), {item->label(), guide});
    }
    if (button.toolTip != old.toolTip) {
        registration->announce(QStringLiteral("NewToolTip"));
    }
}

void NotifierStatusItem::setAction(std::uint32_t mask, std::function<void()> action) {
    item->mask = mask;
    item->action = std::move(action);
}

void NotifierStatusItem::setMenu(std::vector<MenuEntry> entries) {
    menu->setEntries(std::move(entries));
}

std::optional<Rectangle> NotifierStatusItem::frame() const {
    return item->frame;
}

void NotifierStatusItem::setHostObserver(std::function<void(bool hasHost)> observer) {
    registration->setObserver(std::move(observer));
}

} // namespace nocta
