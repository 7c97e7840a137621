// Text literals of WCHAR units.
#pragma once

// u"…" or L"…", whichever has WCHAR's type. A literal's prefix can only be put on by a macro.
#ifdef _WIN32
#define QUORVEL_WIDE(text) L##text
#else
#define QUORVEL_WIDE(text) u##text
#endif
