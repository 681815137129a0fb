#include "kyv/mutexes.h"

// Initialised by constants, so they can be taken before the first constructor of the process runs and, since nothing
// destroys them, after its last destructor.
pthread_mutex_t _connectionrowobjectMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t _connectionrowpoolobjectMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t _connectionrawtransobjectMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t _connectionerrorobjectMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t _objectMutex = PTHREAD_MUTEX_INITIALIZER;
