#include "Interface/Quick.h"

#include <QQuickWindow>
#include <QSGRendererInterface>

// Generated with the module; registers nothing twice.
void qml_register_types_Nocta();

namespace nocta {

void prepareQuick() {
    static bool isReady = false;
    if (isReady) {
        return;
    }
    isReady = true;
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // The module stands in a static library, from which the linker takes only what is asked for. Naming it is enough:
    // the object file that defines it registers the module before main.
    [[maybe_unused]] static void (*volatile const generated)() = &qml_register_types_Nocta;
}

} // namespace nocta
