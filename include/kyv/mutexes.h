#pragma once

// The mutexes that serialise the flat create functions. They are ready before any static initialiser runs; a caller
// that takes one gives it back on the same thread.

#include <pthread.h>

#include "kyv/export.h"

extern "C" {
KYV_EXPORT extern pthread_mutex_t _connectionrowobjectMutex;
KYV_EXPORT extern pthread_mutex_t _connectionrowpoolobjectMutex;
KYV_EXPORT extern pthread_mutex_t _connectionrawtransobjectMutex;
KYV_EXPORT extern pthread_mutex_t _connectionerrorobjectMutex;
KYV_EXPORT extern pthread_mutex_t _objectMutex;
}
