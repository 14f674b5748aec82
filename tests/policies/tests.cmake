# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_library(pamtestsupport STATIC
    policies/pam/PamCases.cpp
    policies/pam/PamPolicyCases.cpp
    policies/pam/PamSystem.cpp
    policies/pam/TaskRun.cpp
)
target_link_libraries(pamtestsupport PUBLIC policies testsupport)
add_unit_test(policies/PolicyTasksTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/pam/PamPolicyTest LIBRARIES policies pamtestsupport)
add_unit_test(policies/pam/PamPolicyUpdateTest SANDBOX LIBRARIES policies pamtestsupport)
add_unit_test(policies/pam/PamOptionReaderTest LIBRARIES policies pamtestsupport)
add_unit_test(policies/pam/PamUpdateTasksTest SANDBOX COUNT_FINISH COST 62 LIBRARIES policies pamtestsupport)
add_unit_test(policies/pam/PamReadTasksTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/files/SettingsFileTest LIBRARIES policies)
add_unit_test(policies/expiration/ExpirationFilesTest LIBRARIES policies)
add_unit_test(policies/lockout/LocalPolicyLockoutUpdateTaskTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/complexity/LocalPolicyPasswordComplexityUpdateTaskTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/expiration/LocalPolicyPasswordExpirationReadTaskTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/expiration/LocalPolicyPasswordExpirationUpdateTaskTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/expiration/LocalUserPolicyPasswordExpirationReadTaskTest SANDBOX COUNT_FINISH LIBRARIES policies pamtestsupport)
add_unit_test(policies/expiration/LocalUserPolicyPasswordExpirationUpdateTaskTest SANDBOX COUNT_FINISH COST 31 LIBRARIES policies pamtestsupport)
# taken for a name service of the system by the test that puts it there
add_library(aliasservice MODULE policies/expiration/aliasservice.cpp)
target_compile_definitions(LocalUserPolicyPasswordExpirationReadTaskTest PRIVATE
    ALIAS_SERVICE="$<TARGET_FILE:aliasservice>" LIBRARIES="/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
add_dependencies(LocalUserPolicyPasswordExpirationReadTaskTest aliasservice)
target_link_options(LocalUserPolicyPasswordExpirationReadTaskTest PRIVATE -Wl,--wrap=strerror)
add_unit_test(policies/machine/HelperSurroundingsTest LIBRARIES machine)
add_unit_test(policies/machine/MachineCopyTest SANDBOX LIBRARIES machine)
add_unit_test(policies/modules/ModuleWritingTest SANDBOX COST 20 LIBRARIES modulepolicies pamtestsupport)
target_compile_definitions(ModuleWritingTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
add_unit_test(policies/modules/ModuleFileTest LIBRARIES modulepolicies)
add_unit_test(policies/faillock/FailureRecordsTest SANDBOX COST 30 LIBRARIES modulepolicies)
target_compile_definitions(FailureRecordsTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
add_unit_test(policies/modules/PamFaultsTest SANDBOX COST 5 LIBRARIES modulepolicies)
add_unit_test(policies/modules/PasswordChangesTest SANDBOX COST 15 LIBRARIES modulepolicies)
target_compile_definitions(PasswordChangesTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
add_unit_test(policies/modules/PamStackTest LIBRARIES modulepolicies)
add_unit_test(policies/modules/WritingFaultsTest SANDBOX COST 120 LIBRARIES modulepolicies pamtestsupport)
target_compile_definitions(WritingFaultsTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
set_tests_properties(policies/modules/WritingFaultsTest PROPERTIES LABELS unsanitized TIMEOUT 900)
