# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_executable(servicecaller service/servicecaller.cpp)
target_link_libraries(servicecaller PRIVATE servicetypes)

add_unit_test(service/JournalEntryTest SANDBOX LIBRARIES service)
