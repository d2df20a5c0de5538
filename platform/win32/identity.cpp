#include "platform/identity.h"

#include <objbase.h>

#include <algorithm>

namespace SMTPClientNS {

std::optional<Guid> MakeGuid() {
    const bool isInitialised = SUCCEEDED(::CoInitialize(nullptr));
    GUID made = {};
    const bool isMade = SUCCEEDED(::CoCreateGuid(&made));
    if (isInitialised) {
        ::CoUninitialize();
    }
    if (!isMade) {
        return std::nullopt;
    }
    Guid guid = {made.Data1, made.Data2, made.Data3, {}};
    std::copy(std::begin(made.Data4), std::end(made.Data4), guid.data4.begin());
    return guid;
}

NarrowString ComputerName() {
    std::array<char, 256> name = {};
    DWORD size = name.size();
    ::GetComputerNameExA(ComputerNameNetBIOS, name.data(), &size);
    return name.data();
}

}  // namespace SMTPClientNS
