# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(tasks/TaskResultTest LIBRARIES tasks)
add_unit_test(tasks/AbstractTaskTest LIBRARIES tasks)
add_unit_test(tasks/ExportHtmlTaskTest LIBRARIES tasks)
# with the constructors of the policies' tasks, though not with their work
add_unit_test(tasks/ElementTaskTest LIBRARIES policies)
# how often something is written is told to this one
target_link_options(ExportHtmlTaskTest PRIVATE -Wl,--wrap=_ZN9QIODevice5writeEPKcx)
