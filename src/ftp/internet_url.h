#pragma once
// URL texts through the internet layer.

#include "common/platform_headers.h"

#include <string>
#include <string_view>

namespace vofs {

// The URL as the internet layer canonicalises it (with flags 0, characters that URLs
// escape, such as blanks, come back escaped). An empty URL gives an empty result; a URL
// the layer cannot canonicalise comes back unchanged.
std::wstring CanonicalizeUrl(std::wstring_view url, DWORD flags = 0);

}  // namespace vofs
