#include "Interface/Quick.h"

#include <QQuickWindow>
#include <QSGRendererInterface>

// Generated with the module; neither registers anything twice.
void qml_register_types_Nocta();
int qInitResources_qmlcache_nocta_interface();

namespace nocta {

void prepareQuick() {
    static bool isReady = false;
    if (isReady) {
        return;
    }
    isReady = true;
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // The module stands in a static library, from which the linker takes only what is asked for. Naming it is enough:
    // the object files that define these register the types and the compiled views before main. Without the latter Qt
    // compiles the views at every first start, and leaves files in the user's cache.
    [[maybe_unused]] static void (*volatile const types)() = &qml_register_types_Nocta;
    [[maybe_unused]] static int (*volatile const views)() = &qInitResources_qmlcache_nocta_interface;
}

} // namespace nocta
