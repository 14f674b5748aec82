# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(messages/ErrorTextTest LIBRARIES messages)
add_unit_test(messages/LibraryTextTest LIBRARIES messages)
add_unit_test(messages/LocalTextTest LIBRARIES messages)
