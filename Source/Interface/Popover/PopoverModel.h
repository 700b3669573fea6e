#pragma once

#include "Core/Signal.h"
#include "Interface/Popover/BreaksModel.h"
#include "Interface/Popover/PopoverTab.h"
#include "Interface/Popover/PresetsModel.h"
#include "Interface/Popover/ScheduleModel.h"
#include "Interface/Popover/StatsModel.h"
#include "Interface/StatusBar/QuickPopoverHost.h"

#include <vector>

#include <QColor>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace nocta {

/// What the popover binds to. It outlives the scene, which comes and goes with the popover: the selected tab is still
/// selected at the next opening. Main thread only, needs the application object.
class PopoverModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the program.")
    /// Writing it is what the switch does.
    Q_PROPERTY(bool filterEnabled READ filterEnabled WRITE setFilterEnabled NOTIFY filterChanged FINAL)
    /// The active preset, and under it the temperature; both speak of the switch while the filter is off.
    Q_PROPERTY(QString title READ title NOTIFY filterChanged FINAL)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY filterChanged FINAL)
    Q_PROPERTY(QString score READ score NOTIFY scoreChanged FINAL)
    Q_PROPERTY(QColor scoreColor READ scoreColor NOTIFY scoreChanged FINAL)

    Q_PROPERTY(QStringList tabLabels READ tabLabels CONSTANT FINAL)
    Q_PROPERTY(QStringList tabIcons READ tabIcons CONSTANT FINAL)
    /// In the order of the tab bar.
    Q_PROPERTY(int selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged FINAL)
    /// The file of the selected tab's view, and what that binds to as its property `model`.
    Q_PROPERTY(QString tabView READ tabView NOTIFY selectedTabChanged FINAL)
    Q_PROPERTY(nocta::TabModel* tabModel READ tabModel NOTIFY selectedTabChanged FINAL)

  public:
    PopoverModel();

    /// A popover with a model of its own.
    [[nodiscard]] static PopoverScene makeScene();

    [[nodiscard]] static bool filterEnabled();
    static void setFilterEnabled(bool enabled);
    [[nodiscard]] static QString title();
    [[nodiscard]] static QString subtitle();
    [[nodiscard]] static QString score();
    [[nodiscard]] static QColor scoreColor();

    [[nodiscard]] static QStringList tabLabels();
    [[nodiscard]] static QStringList tabIcons();
    [[nodiscard]] int selectedTab() const { return static_cast<int>(tab); }
    void setSelectedTab(int index);
    [[nodiscard]] QString tabView() const;
    [[nodiscard]] TabModel* tabModel();

    /// Whether the popover is on the screen.
    void setShown(bool isShown);

    /// Gives the displays their own colours back, then ends the program.
    Q_INVOKABLE static void quit();

  Q_SIGNALS:
    void filterChanged();
    void scoreChanged();
    void selectedTabChanged();

  private:
    PopoverTab tab = PopoverTab::presets;
    bool shown = false;
    PresetsModel presets;
    ScheduleModel schedule;
    BreaksModel breaks;
    StatsModel stats;
    std::vector<Subscription> subscriptions;
};

} // namespace nocta
