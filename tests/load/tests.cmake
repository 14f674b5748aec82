# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_executable(loadclient load/loadclient.cpp)
target_link_libraries(loadclient PRIVATE client)

# a few only; by hand, as many as wanted
add_test(NAME load/Actions
         COMMAND ${SANDBOX} --install ${PROJECT_BINARY_DIR} --bus -- ${CMAKE_CURRENT_SOURCE_DIR}/load/load 2000
                 $<TARGET_FILE:loadclient>)
set_tests_properties(load/Actions PROPERTIES LABELS unsanitized COST 50 TIMEOUT 900)
