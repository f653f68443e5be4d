#pragma once

namespace BrxTest {

// Keeps Mesa's GL driver loaded until the process ends. Qt unloads it when the last context or
// the X connection goes, before the leak checker runs: what the driver still holds then looks
// lost.
void keepGraphicsDriversLoaded();

} // namespace BrxTest
