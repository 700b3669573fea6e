#pragma once

namespace nocta {

/// Makes the QML module "Nocta" known to every engine of this process. To be called before the first one loads from it:
/// the module stands in a static library, from which the linker takes only what is asked for.
void registerQmlModule();

} // namespace nocta
