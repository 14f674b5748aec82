// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QtGlobal>

// The files of the policies, and the programs that work on them.

inline constexpr char authStack[] = "/etc/pam.d/common-auth";
inline constexpr char passwordStack[] = "/etc/pam.d/common-password";
inline constexpr char tallyFile[] = "/usr/share/pam-configs/tally";
inline constexpr char pwqualityFile[] = "/usr/share/pam-configs/pwquality";
inline constexpr char loginDefsFile[] = "/etc/login.defs";
inline constexpr char useraddFile[] = "/etc/default/useradd";

inline constexpr char toolFile[] = "/usr/sbin/pam-auth-update";
inline constexpr char cpFile[] = "/usr/bin/cp";
#if QT_VERSION_MAJOR >= 6
inline constexpr char helperFile[] = "/usr/lib/kf6/kauth/libexec/accountpolicieshelper";
inline constexpr char kauthPolicyFile[] = "/usr/share/dbus-1/system.d/org.kde.kf6auth.conf";
inline constexpr char kauthPolicyPackage[] = "libkf6auth-data";
#else
inline constexpr char helperFile[] = "/usr/lib/kauth/libexec/accountpolicieshelper";
inline constexpr char kauthPolicyFile[] = "/usr/share/dbus-1/system.d/org.kde.kf5auth.conf";
inline constexpr char kauthPolicyPackage[] = "libkf5auth-data";
#endif
