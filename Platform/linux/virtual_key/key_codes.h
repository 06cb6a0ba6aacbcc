/// Which codes can be keys of the virtual remote, and what they are called.
#pragma once

#include <string>

/// A platform key code is the kernel's plus this.
constexpr int kPlatformCodeOffset = 8;

/// Whether the kernel has a key number for this platform code.
bool IsInKernelsRange(int platformCode);

/// Null when the platform code can be sent; otherwise the reason why not, as the end of "the code is refused: ...".
const char* WhyNoKey(int platformCode);

/// The kernel's name of a platform code (36 is KEY_ENTER). Of those without one, the service's own two are called
/// REMOTE_STICK (571, the left stick pressed down) and REMOTE_PLAYDECK (572, the game hub), others KEY_<kernel code>.
std::string KeyName(int platformCode);
