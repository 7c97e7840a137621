// Text literals for calls that take WCHAR, whatever that is.
#pragma once

#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace quorvel::test {

inline std::basic_string<WCHAR> Wide(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace quorvel::test
