#include "stream/UnixStd.h"

#include <cstdlib>
#include <cstring>
#include <new>

CBuffer::~CBuffer() { free(orig_buffer); }

CBuffer* evbuffer_new() {
    void* raw = calloc(1, sizeof(CBuffer));
    if (!raw) return nullptr;
    return new (raw) CBuffer();  // zero-filled: no storage, no callback
}

void evbuffer_free(CBuffer* buf) {
    if (!buf) return;
    buf->~CBuffer();
    free(buf);
}

void evbuffer_setcb(CBuffer* buf, evbuffer_cb cb, void* cbarg) {
    buf->cb = cb;
    buf->cbarg = cbarg;
}

void evbuffer_align(CBuffer* buf) {
    if (buf->misalign == 0) return;
    memmove(buf->orig_buffer, buf->buffer, buf->off);
    buf->buffer = buf->orig_buffer;
    buf->misalign = 0;
}

int evbuffer_expand(CBuffer* buf, size_t datlen) {
    // Sizes are 32-bit; a request that cannot be represented is a failed growth.
    // Where size_t is 64-bit the sum itself can wrap.
    uint64_t need;
    if (__builtin_add_overflow(uint64_t(buf->misalign) + buf->off, datlen, &need)) return -1;
    if (buf->totallen >= need) return 0;
    if (buf->misalign >= datlen) {
        evbuffer_align(buf);
        return 0;
    }
    if (need > UINT32_MAX) return -1;  // also keeps the doubling below from wrapping
    uint64_t length = buf->totallen;
    if (length < 256) length = 256;
    while (length < need) length <<= 1;
    if (length > UINT32_MAX) return -1;
    if (buf->orig_buffer != buf->buffer) evbuffer_align(buf);
    void* grown = realloc(buf->orig_buffer, size_t(length));
    if (!grown) return -1;
    buf->orig_buffer = buf->buffer = static_cast<uint8_t*>(grown);
    buf->totallen = uint32_t(length);
    return 0;
}

void evbuffer_trim(CBuffer* buf, uint32_t keep) {
    if (buf->totallen <= keep || buf->off > keep / 2) return;
    if (buf->off == 0) {
        free(buf->orig_buffer);
        buf->orig_buffer = buf->buffer = nullptr;
        buf->totallen = buf->misalign = 0;
        return;
    }
    evbuffer_align(buf);
    void* smaller = realloc(buf->orig_buffer, keep);
    if (!smaller) return;  // keeping the larger storage is harmless
    buf->orig_buffer = buf->buffer = static_cast<uint8_t*>(smaller);
    buf->totallen = keep;
}

int evbuffer_addx(CBuffer* buf, const void* data, size_t datlen, int notify) {
    uint32_t old = buf->off;
    if (evbuffer_expand(buf, datlen) == -1) return -1;  // does nothing when it fits
    if (datlen) memcpy(buf->buffer + buf->off, data, datlen);
    buf->off += uint32_t(datlen);
    if (datlen && buf->cb && notify) buf->cb(buf, old, buf->off, buf->cbarg);
    return 0;
}

void evbuffer_drain(CBuffer* buf, size_t len) {
    if (buf->off > len) {
        buf->buffer += len;
        buf->misalign += uint32_t(len);
        buf->off -= uint32_t(len);
    } else {
        buf->off = 0;
        buf->buffer = buf->orig_buffer;
        buf->misalign = 0;
    }
}

int evbuffer_remove(CBuffer* buf, void* data, size_t datlen) {
    size_t n = datlen < buf->off ? datlen : buf->off;
    if (n) memcpy(data, buf->buffer, n);
    evbuffer_drain(buf, n);
    return int(n);
}
