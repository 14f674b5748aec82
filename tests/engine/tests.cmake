# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(engine/RegExpHandlerTest LIBRARIES engine)
add_unit_test(engine/SearchHintTest LIBRARIES engine)
add_unit_test(engine/LineWalkTest LIBRARIES engine)
add_unit_test(engine/FileReadingTest LIBRARIES engine)
add_unit_test(engine/FileReplacingTest SANDBOX LIBRARIES engine)
set_tests_properties(engine/FileReplacingTest PROPERTIES LABELS unsanitized)
add_unit_test(engine/FileRewritingTest SANDBOX LIBRARIES engine)
add_unit_test(engine/CommandRunnerTest SANDBOX COST 31 LIBRARIES engine)
add_unit_test(engine/CommandTest LIBRARIES engine)
# how long a command may take is told to these
target_link_options(CommandTest PRIVATE -Wl,--wrap=_ZN8QProcess14waitForStartedEi,--wrap=_ZN8QProcess15waitForFinishedEi)
