// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A name service that knows one account: asked for "alias", it answers with the entry of "john". See nss(5).

#include <cstring>
#include <nss.h>
#include <pwd.h>

extern "C" nss_status
_nss_alias_getpwnam_r(const char *name, passwd *entry, char *buffer, std::size_t size, int * /*error*/)
{
    // name, password and all other texts, one behind another
    static constexpr char texts[] = "john\0x";
    if (std::strcmp(name, "alias") != 0 || size < sizeof texts) {
        return NSS_STATUS_NOTFOUND;
    }
    std::memcpy(buffer, texts, sizeof texts);
    char *nothing = buffer + sizeof texts - 1;
    *entry = {buffer, buffer + 5, 4321, 4321, nothing, nothing, nothing};
    return NSS_STATUS_SUCCESS;
}
