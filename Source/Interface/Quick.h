#pragma once

namespace nocta {

/// Makes Qt Quick ready for this program's scenes: its windows are drawn in software, and the QML module "Nocta" is
/// known to every engine. To be called before the first window or engine is made; again, it does nothing, as Qt
/// complains about a choice that comes after the first window. Main thread.
void prepareQuick();

} // namespace nocta
