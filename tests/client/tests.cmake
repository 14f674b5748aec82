# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(client/settings/AssignmentsTest LIBRARIES client)
add_unit_test(client/settings/DocumentTest LIBRARIES client)
add_unit_test(client/settings/PoliciesTest LIBRARIES client)
add_unit_test(client/settings/SettingTest LIBRARIES client)
add_unit_test(client/settings/SettingTextTest LIBRARIES client)
add_unit_test(client/bus/InterruptWatchTest LIBRARIES client)
add_unit_test(client/changes/ChangeTest LIBRARIES client)
add_unit_test(client/changes/HistoryTest LIBRARIES client)
add_unit_test(client/commands/ClientCommandTest SANDBOX LIBRARIES client)
add_unit_test(client/output/HtmlReportTest LIBRARIES client)
add_unit_test(client/output/TableTest LIBRARIES client)
add_unit_test(client/output/TerminalTest LIBRARIES client)
add_unit_test(client/stores/AccountStoreTest SANDBOX LIBRARIES client)
add_unit_test(client/system/PamFilesTest SANDBOX LIBRARIES client)
add_bus_test(client/bus/HelperRequestTest LIBRARIES client)
add_bus_test(client/completions/CompletionsTest)
