#ifndef COMMON_LOCKORDER_H
#define COMMON_LOCKORDER_H

#include "CThread/ThreadSafety.h"

/// The order in which the service's locks nest, for the compiler's analysis. A lock names the places that it comes
/// after and before; a place itself is never held, and exists nowhere.
namespace lock_order {

struct CAPABILITY("place") Place {};

extern Place BeforeTimeMutex;
extern Place AfterRegistry ACQUIRED_BEFORE(BeforeTimeMutex);
extern Place AfterTimer ACQUIRED_BEFORE(AfterRegistry);
extern Place AfterMenuMode ACQUIRED_BEFORE(AfterTimer);
extern Place AfterDevice ACQUIRED_BEFORE(AfterMenuMode);
extern Place AfterSingleton ACQUIRED_BEFORE(AfterDevice);
extern Place AfterList ACQUIRED_BEFORE(AfterSingleton);

}  // namespace lock_order

#endif
