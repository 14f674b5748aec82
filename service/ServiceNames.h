// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

/// The service's name on the bus, its interface, and the first part of the names of its errors.
inline constexpr char serviceName[] = "org.accountpolicies.Modules1";

/// Where its one object is.
inline constexpr char servicePath[] = "/org/accountpolicies/Modules1";

/// The first part of the names of polkit's actions.
inline constexpr char serviceActions[] = "org.accountpolicies.modules1.";
