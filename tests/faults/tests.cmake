# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

set(DIE_AND_STARVE ${CMAKE_CURRENT_SOURCE_DIR}/faults/die-and-starve)

add_executable(writeonce faults/writeonce.cpp)
target_link_libraries(writeonce PRIVATE policies modulepolicies)

# a part of the system calls only; by hand, --all tries each
add_test(NAME faults/Writing COMMAND ${SANDBOX} -- ${DIE_AND_STARVE} $<TARGET_FILE:writeonce>)
add_test(NAME faults/Helper
         COMMAND ${SANDBOX} --install ${PROJECT_BINARY_DIR} --bus -- ${DIE_AND_STARVE} --helper $<TARGET_FILE:buscaller>)
add_test(NAME faults/Modules
         COMMAND ${SANDBOX} -- ${CMAKE_CURRENT_SOURCE_DIR}/faults/die-and-starve-modules $<TARGET_FILE:writeonce>
                 ${PROJECT_SOURCE_DIR}/profiles)
set_tests_properties(faults/Modules PROPERTIES LABELS unsanitized COST 60 TIMEOUT 900)
set_tests_properties(faults/Writing PROPERTIES LABELS unsanitized COST 80 TIMEOUT 900)
set_tests_properties(faults/Helper PROPERTIES LABELS unsanitized COST 30 TIMEOUT 900)
