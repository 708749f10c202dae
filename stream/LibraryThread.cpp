#include "stream/LibraryThread.h"

#include <limits.h>

namespace kovo {

int StartLibraryThread(pthread_t* thread, void* (*body)(void*), void* arg, size_t stackBytes) {
    pthread_attr_t attr;
    int rc = pthread_attr_init(&attr);
    if (rc != 0) return rc;
    if (stackBytes < size_t(PTHREAD_STACK_MIN)) stackBytes = PTHREAD_STACK_MIN;
    rc = pthread_attr_setstacksize(&attr, stackBytes);
    if (rc == 0) rc = pthread_create(thread, &attr, body, arg);
    pthread_attr_destroy(&attr);
    return rc;
}

}  // namespace kovo
