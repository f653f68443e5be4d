#include "core/RMutex.h"

namespace QTD {

void RMutex::lock(char const*) {
    mutex.lock();
}

} // namespace QTD
