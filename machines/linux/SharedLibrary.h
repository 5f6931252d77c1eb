// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <dlfcn.h>

namespace vantorel::machines {

/// A library of the system that is loaded when it is first needed, so that a host which never looks at this computer
/// does not pay for it. It stays loaded.
class SharedLibrary {
public:
    explicit SharedLibrary(const char* name) : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL)) {}

    /// Puts the operation of this name into `operation`; false when it cannot be had.
    template <typename Operation>
    [[nodiscard]] bool bind(Operation*& operation, const char* name) const
    {
        operation = handle_ ? reinterpret_cast<Operation*>(dlsym(handle_, name)) : nullptr;
        return operation != nullptr;
    }

private:
    void* handle_;
};

} // namespace vantorel::machines
