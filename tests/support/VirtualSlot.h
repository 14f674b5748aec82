// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <cstddef>
#include <cstring>

/// Where in its class's table a virtual function stands, as the C++ ABI of the Debian architectures puts it into a pointer
/// to it. Only good for comparing functions of one class.
template<typename Function>
std::ptrdiff_t virtualSlotOf(Function function)
{
    std::ptrdiff_t slot = 0;
    static_assert(sizeof function > sizeof slot);
    std::memcpy(&slot, &function, sizeof slot);
    return slot;
}
