// The one sink of every line the library prints. By default the text goes to
// standard output byte for byte as printf would write it; with a trace
// callback set (Kovo_SetTraceCallBack) it goes to the application instead.
//
// Callback mode treats each call as one record: its text is split at line
// feeds, a CR before a line feed and the line ends at the very end are
// dropped, and every resulting line is handed over once. A call without a
// line end (a partial printf) therefore still arrives as a line of its own
// instead of waiting, possibly forever, for the rest.
#ifndef KOVO_SDK_TRACE_H
#define KOVO_SDK_TRACE_H

#include <cstddef>

namespace kovo {

// printf: same format, same bytes.
void tracef(const char* format, ...) __attribute__((format(printf, 1, 2)));
// puts: text and a line feed.
void traceputs(const char* text);
// Writes len bytes of already formatted text.
void traceText(const char* text, size_t len);

}  // namespace kovo

#endif
