#include "Interface/QmlModule.h"

// Generated with the module; registers nothing twice.
void qml_register_types_Nocta();

namespace nocta {

void registerQmlModule() {
    // Naming it is enough: the object file that defines it registers the module before main.
    [[maybe_unused]] static void (*volatile const generated)() = &qml_register_types_Nocta;
}

} // namespace nocta
