// The registry scripts of apo/resources/, compiled in: one for each class, and that of the
// application, which is not registered. On Windows the library's resources hold them too (101 the
// application's, 102 to 105 the classes'), for whoever looks for them there.
#pragma once

namespace quorvel::script_text {

extern const char* const kApplication;
extern const char* const kLfxOut;
extern const char* const kGfxOut;
extern const char* const kLfxIn;
extern const char* const kGfxIn;

}  // namespace quorvel::script_text
