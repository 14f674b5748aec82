# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

find_package(Qt${QT_MAJOR_VERSION} ${QT_MIN_VERSION} REQUIRED COMPONENTS DBus)

add_executable(buscaller endtoend/buscaller.cpp)
target_link_libraries(buscaller PRIVATE helperid KF${QT_MAJOR_VERSION}::AuthCore)

add_executable(impatientclient endtoend/impatientclient.cpp)
target_link_libraries(impatientclient PRIVATE client)

add_library(endtoendsupport STATIC
    endtoend/Bus.cpp
    endtoend/Client.cpp
    endtoend/ClientFixture.cpp
    endtoend/PamState.cpp
    endtoend/PolkitRule.cpp
    endtoend/PromptFixture.cpp
    endtoend/Sessions.cpp
)
target_link_libraries(endtoendsupport PUBLIC testsupport helperid Qt${QT_MAJOR_VERSION}::DBus PRIVATE client)
add_dependencies(endtoendsupport buscaller)
target_compile_definitions(endtoendsupport PRIVATE BUSCALLER="$<TARGET_FILE:buscaller>")

foreach(name IN ITEMS AccountTest ActionsTest ClientTest InstallationTest ManyClientsTest
                      OwnReadingTest PamTest PromptTest RecordedRepliesTest ReportTest StreamsTest)
    add_bus_test(endtoend/${name})
endforeach()
target_link_libraries(ClientTest PRIVATE client)
target_compile_definitions(RecordedRepliesTest PRIVATE
    RECORDED_REPLIES="${CMAKE_CURRENT_SOURCE_DIR}/endtoend/RecordedRepliesTest.replies")
add_bus_test(endtoend/FaultsTest COST 34)
add_bus_test(endtoend/InForceTest COST 40)
add_bus_test(endtoend/LocalTest COST 40)
add_bus_test(endtoend/ModulesTest COST 40)
target_link_libraries(ModulesTest PRIVATE client)
add_bus_test(endtoend/UndoTest COST 76)
add_bus_test(endtoend/WaitingTest COST 100)

add_dependencies(WaitingTest impatientclient)
target_compile_definitions(WaitingTest PRIVATE IMPATIENT_CLIENT="$<TARGET_FILE:impatientclient>")

# The same tests once more on a build for another vendor: every name must follow the prefix.
if(VENDOR_PREFIX STREQUAL "org.accountpolicies")
    add_test(NAME endtoend/OtherVendor
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/endtoend/other-vendor ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/other-vendor)
    set_tests_properties(endtoend/OtherVendor PROPERTIES LABELS unsanitized COST 50 TIMEOUT 1200)
endif()
