// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "HelperId.h"
#include "helper/AccountPoliciesHelper.h"

#include <KAuth/HelperSupport>

int main(int argc, char *argv[])
{
    // lives until the process ends: KAuth keeps using it and has no moment at which to delete it
    auto *helper = new AccountPoliciesHelper;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    return KAuth::HelperSupport::helperMain(argc, argv, helperId, helper);
}
