#pragma once

// Threads, locks and the hand-over helpers of the component framework.
#include "core/AutoLock.h"
#include "core/CommandProcessor.h"
#include "core/DoubleBuffer.h"
#include "core/Messenger.h"
#include "core/Mutex.h"
#include "core/RMutex.h"
#include "core/Thread.h"
