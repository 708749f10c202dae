// Growable byte queue with a consumed-front offset and a change callback.
// Every received media byte passes through one of these.
#ifndef KOVO_STREAM_UNIXSTD_H
#define KOVO_STREAM_UNIXSTD_H

#include <cstddef>
#include <cstdint>

#include "sdk/KovoSDK.h"

struct CBuffer;
using evbuffer_cb = void (*)(CBuffer* buf, uint32_t oldLength, uint32_t newLength, void* arg);

struct CBuffer {
    ~CBuffer();

    uint8_t* buffer;       // front of the valid bytes
    uint8_t* orig_buffer;  // start of the storage, null until the first growth
    uint32_t misalign;     // consumed bytes between orig_buffer and buffer
    uint32_t totallen;     // size of the storage
    uint32_t off;          // valid bytes from buffer on
    evbuffer_cb cb;
    void* cbarg;
};

KOVO_API CBuffer* evbuffer_new();
// Runs the destructor and releases an object made by evbuffer_new.
void evbuffer_free(CBuffer* buf);
KOVO_API void evbuffer_setcb(CBuffer* buf, evbuffer_cb cb, void* cbarg);
KOVO_API int evbuffer_expand(CBuffer* buf, size_t datlen);
KOVO_API int evbuffer_addx(CBuffer* buf, const void* data, size_t datlen, int notify);
KOVO_API void evbuffer_drain(CBuffer* buf, size_t len);
KOVO_API int evbuffer_remove(CBuffer* buf, void* data, size_t datlen);
KOVO_API void evbuffer_align(CBuffer* buf);
// Gives back storage grown past keep bytes for something large (a key
// frame) once what is held fits in keep again, so that many streams do not
// each hold their largest frame's worth.
void evbuffer_trim(CBuffer* buf, uint32_t keep);

#endif
