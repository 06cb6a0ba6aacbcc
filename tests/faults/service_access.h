#pragma once

#include <pthread.h>

/// What a test needs of the service's inside. These are compiled apart, since they bring inline functions of the
/// service along, whose calls must be redirected too.

/// The one that every semaphore waits in.
pthread_mutex_t* SemaphoresMutex();
/// Those that a late notice has built.
void DestroyInstances();
/// Takes down what a start without a main loop leaves as it is.
void TakeServiceDown();
