# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_executable(writeonce faults/writeonce.cpp)
target_link_libraries(writeonce PRIVATE policies)
