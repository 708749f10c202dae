// The library's own threads start with explicit, small stacks: a thousand
// streams with the system's default stack (8 MB each) would not even fit in
// a 32-bit address space. What a stream's thread runs, the application's
// callbacks included, must fit in kStreamThreadStack (sdk/KovoSDK.h says so).
#ifndef KOVO_STREAM_LIBRARYTHREAD_H
#define KOVO_STREAM_LIBRARYTHREAD_H

#include <pthread.h>

#include <cstddef>

namespace kovo {

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KOVO_STACKS_FOR_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(KOVO_STACKS_FOR_SANITIZER)
// The sanitizer's red zones make every frame several times larger.
constexpr size_t kStreamThreadStack = 1024 * 1024;
constexpr size_t kLoopThreadStack = 512 * 1024;
#else
constexpr size_t kStreamThreadStack = 256 * 1024;
constexpr size_t kLoopThreadStack = 128 * 1024;
#endif

// pthread_create with a stack of stackBytes; its result.
int StartLibraryThread(pthread_t* thread, void* (*body)(void*), void* arg, size_t stackBytes);

}  // namespace kovo

#endif
