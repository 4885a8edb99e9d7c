// How this component sets a string variable without knowing the store: the owner of the store sets the
// variable, with no source and not forced, and notifies the registered hosts. Called on the thread that
// called the component, with no lock held; may throw.
#pragma once

#include <functional>
#include <string>

namespace zq {

using StringPublisher = std::function<void(const wchar_t* name, const std::wstring& value)>;

} // namespace zq
