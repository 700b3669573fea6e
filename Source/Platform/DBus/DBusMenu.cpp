#include "Platform/DBus/DBusMenu.h"

#include "Platform/Bus/BusNames.h"

#include <functional>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

namespace nocta {

namespace {

const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");

/// The layout never changes.
constexpr uint revision = 1;
constexpr int rootId = 0;

/// An entry with its properties and what is below it.
struct Node {
    int id = rootId;
    QVariantMap properties;
    QList<Node> children;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Node& node) {
    argument.beginStructure();
    argument << node.id << node.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const auto& child : node.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

// Never sent to us; the registration of the type asks for it.
const QDBusArgument& operator>>(const QDBusArgument& argument, Node& /*node*/) {
    return argument;
}

/// An entry's properties alone.
struct ItemProperties {
    int id = rootId;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const ItemProperties& item) {
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ItemProperties& item) {
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

/// What a host tells of an entry.
struct MenuEvent {
    int id = rootId;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event) {
    argument.beginStructure();
    argument << event.id << event.type << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event) {
    argument.beginStructure();
    argument >> event.id >> event.type >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

void registerTypes() {
    qDBusRegisterMetaType<Node>();
    qDBusRegisterMetaType<ItemProperties>();
    qDBusRegisterMetaType<QList<ItemProperties>>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<QList<int>>();
}

const QString clicked = QStringLiteral("clicked");

QVariantMap menuProperties() {
    return {{QStringLiteral("Version"), 3U},
            {QStringLiteral("TextDirection"), QStringLiteral("ltr")},
            {QStringLiteral("Status"), QStringLiteral("normal")},
            {QStringLiteral("IconThemePath"), QStringList()}};
}

} // namespace

QString DBusMenu::introspect(const QString& /*path*/) const {
    return QStringLiteral(R"xml(<interface name="com.canonical.dbusmenu">
    <property name="Version" type="u" access="read"/>
    <property name="TextDirection" type="s" access="read"/>
    <property name="Status" type="s" access="read"/>
    <property name="IconThemePath" type="as" access="read"/>
    <method name="GetLayout">
      <arg name="parentId" type="i" direction="in"/>
      <arg name="recursionDepth" type="i" direction="in"/>
      <arg name="propertyNames" type="as" direction="in"/>
      <arg name="revision" type="u" direction="out"/>
      <arg name="layout" type="(ia{sv}av)" direction="out"/>
    </method>
    <method name="GetGroupProperties">
      <arg name="ids" type="ai" direction="in"/>
      <arg name="propertyNames" type="as" direction="in"/>
      <arg name="properties" type="a(ia{sv})" direction="out"/>
    </method>
    <method name="GetProperty">
      <arg name="id" type="i" direction="in"/>
      <arg name="name" type="s" direction="in"/>
      <arg name="value" type="v" direction="out"/>
    </method>
    <method name="Event">
      <arg name="id" type="i" direction="in"/>
      <arg name="eventId" type="s" direction="in"/>
      <arg name="data" type="v" direction="in"/>
      <arg name="timestamp" type="u" direction="in"/>
    </method>
    <method name="EventGroup">
      <arg name="events" type="a(isvu)" direction="in"/>
      <arg name="idErrors" type="ai" direction="out"/>
    </method>
    <method name="AboutToShow">
      <arg name="id" type="i" direction="in"/>
      <arg name="needUpdate" type="b" direction="out"/>
    </method>
    <method name="AboutToShowGroup">
      <arg name="ids" type="ai" direction="in"/>
      <arg name="updatesNeeded" type="ai" direction="out"/>
      <arg name="idErrors" type="ai" direction="out"/>
    </method>
  </interface>
)xml");
}

bool DBusMenu::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() != menuInterface && message.interface() != propertiesInterface) {
        return false;
    }
    const QDBusMessage reply = answer(message);
    if (reply.type() == QDBusMessage::InvalidMessage) {
        return false;
    }
    return connection.send(reply);
}

QDBusMessage DBusMenu::answer(const QDBusMessage& message) {
    registerTypes();
    const auto arguments = message.arguments();
    const auto is = [&](const char* member, const char* signature) {
        return message.member() == QLatin1String(member) && message.signature() == QLatin1String(signature);
    };
    if (message.interface() == propertiesInterface) {
        if (is("Get", "ss") && menuProperties().contains(arguments[1].toString())) {
            return message.createReply(
                QVariant::fromValue(QDBusVariant(menuProperties().value(arguments[1].toString()))));
        }
        if (is("GetAll", "s")) {
            return message.createReply(menuProperties());
        }
        return {};
    }
    if (is("GetLayout", "iias")) {
        const int parent = arguments[0].toInt();
        if (parent != rootId && !hasEntry(parent)) {
            return message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("no such entry"));
        }
        Node node{.id = parent, .properties = properties(parent), .children = {}};
        if (parent == rootId && arguments[1].toInt() != 0) {
            for (int id = 1; hasEntry(id); ++id) {
                node.children.append(Node{.id = id, .properties = properties(id), .children = {}});
            }
        }
        return message.createReply({revision, QVariant::fromValue(node)});
    }
    if (is("GetGroupProperties", "aias")) {
        auto ids = qdbus_cast<QList<int>>(arguments[0]);
        if (ids.isEmpty()) {
            for (int id = 1; hasEntry(id); ++id) {
                ids.append(id);
            }
        }
        QList<ItemProperties> items;
        for (const int id : ids) {
            if (id == rootId || hasEntry(id)) {
                items.append({.id = id, .properties = properties(id)});
            }
        }
        return message.createReply(QVariant::fromValue(items));
    }
    if (is("GetProperty", "is")) {
        const auto value = properties(arguments[0].toInt()).value(arguments[1].toString());
        if (!value.isValid()) {
            return message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("no such property"));
        }
        return message.createReply(QVariant::fromValue(QDBusVariant(value)));
    }
    if (is("Event", "isvu")) {
        if (arguments[1].toString() == clicked) {
            activate(arguments[0].toInt());
        }
        return message.createReply();
    }
    if (is("EventGroup", "a(isvu)")) {
        QList<int> unknown;
        for (const auto& event : qdbus_cast<QList<MenuEvent>>(arguments[0])) {
            if (event.id != rootId && !hasEntry(event.id)) {
                unknown.append(event.id);
            } else if (event.type == clicked) {
                activate(event.id);
            }
        }
        return message.createReply(QVariant::fromValue(unknown));
    }
    if (is("AboutToShow", "i")) {
        return message.createReply(false);
    }
    if (is("AboutToShowGroup", "ai")) {
        return message.createReply({QVariant::fromValue(QList<int>()), QVariant::fromValue(QList<int>())});
    }
    return {};
}

QVariantMap DBusMenu::properties(int id) const {
    if (id == rootId) {
        return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    }
    if (!hasEntry(id)) {
        return {};
    }
    // An underscore would mark a mnemonic.
    auto label = QString::fromStdString(entries[static_cast<std::size_t>(id) - 1].title);
    label.replace(QLatin1Char('_'), QStringLiteral("__"));
    return {{QStringLiteral("label"), label}, {QStringLiteral("enabled"), true}, {QStringLiteral("visible"), true}};
}

bool DBusMenu::hasEntry(int id) const {
    return id > rootId && static_cast<std::size_t>(id) <= entries.size();
}

void DBusMenu::activate(int id) const {
    if (hasEntry(id)) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), entries[static_cast<std::size_t>(id) - 1].action,
                                  Qt::QueuedConnection);
    }
}

} // namespace nocta
