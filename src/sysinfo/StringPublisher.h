// How this component hands a text to the module's variables without knowing them: the owner of the store sets
// the string variable, with no source and not forced, and notifies the registered hosts. Called on the thread
// that called into the component, with no lock held; may throw.
#pragma once

#include <functional>
#include <string>

namespace zq {

using StringPublisher = std::function<void(const wchar_t* name, const std::wstring& value)>;

} // namespace zq
