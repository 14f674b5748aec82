# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_bus_test(docs/ManualPagesTest LIBRARIES settings)
add_bus_test(docs/SchemaTest COST 40)
