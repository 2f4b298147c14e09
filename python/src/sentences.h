// zel tessel2d: planar and surface mesh tools.
#pragma once

// What a status means, as the headers of the library say it.
#include <string>

#if __has_include("zel/host/messages.h")
#include "zel/host/messages.h"
#endif

namespace tessel2d_python {

inline std::string sentence_of(const char* function, int status) {
#if __has_include("zel/host/messages.h")
    if (const char* const text = zel::tessel2d_host::explain(function, status)) return text;
#else
    static_cast<void>(function);
#endif
    return status == -199 ? "memory is exhausted" : "an argument is unusable";
}

} // namespace tessel2d_python
