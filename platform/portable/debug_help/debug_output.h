// The debugger's window of Windows.
#pragma once

#include "platform/portable/kernel/types.h"

// Shows `text` to whoever watches: here standard error, in UTF-8, as it is, without a line break of
// its own. Null shows nothing, and a text is lost when there is no memory. Any thread; may block.
void OutputDebugStringW(const WCHAR* text);
