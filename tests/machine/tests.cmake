# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

set(MACHINE_FOLDER ${PROJECT_BINARY_DIR}/machine)

add_library(machinesupport STATIC machine/Machine.cpp)
target_link_libraries(machinesupport PUBLIC testsupport)
target_compile_definitions(machinesupport PRIVATE MACHINE_FOLDER="${MACHINE_FOLDER}")

# What the tests below stand on: a machine's root, and the packages. If it can't be made, they fail.
add_test(NAME machine/prepare COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/machine/prepare ${MACHINE_FOLDER})
set_tests_properties(machine/prepare PROPERTIES FIXTURES_SETUP machine LABELS unsanitized COST 140 TIMEOUT 1800)

# what is installed, once more: here not by cmake but as packages
add_test(NAME machine/InstallationTest
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/machine/with-packages ${MACHINE_FOLDER}/packages
                 ${SANDBOX} --bus -- $<TARGET_FILE:InstallationTest>)
set_tests_properties(machine/InstallationTest PROPERTIES FIXTURES_REQUIRED machine LABELS unsanitized TIMEOUT 600)

# transcripts/ has what to type on a machine, "$ " before each command, and what is seen then; its folders what differs with Qt
foreach(name IN ITEMS LoginTest MachineTest PackageTest ServerTest)
    add_executable(${name} machine/${name}.cpp)
    target_link_libraries(${name} PRIVATE machinesupport)
    add_test(NAME machine/${name} COMMAND ${name})
    # one at a time: each has its machine in the same place
    set_tests_properties(machine/${name} PROPERTIES FIXTURES_REQUIRED machine RESOURCE_LOCK machine LABELS unsanitized
                                                    TIMEOUT 1800)
endforeach()

# an image with the client's package, which ServerTest looks at
add_test(NAME machine/build-image COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/machine/build-image ${MACHINE_FOLDER})
set_tests_properties(machine/build-image PROPERTIES FIXTURES_REQUIRED machine FIXTURES_SETUP image LABELS unsanitized COST 60
                                                    TIMEOUT 1800)
set_tests_properties(machine/ServerTest PROPERTIES FIXTURES_REQUIRED "machine;image")
target_compile_definitions(ServerTest PRIVATE MACHINE_SOURCES="${CMAKE_CURRENT_SOURCE_DIR}/machine")
target_compile_definitions(MachineTest PRIVATE MACHINE_SOURCES="${CMAKE_CURRENT_SOURCE_DIR}/machine")

# what calls the helper there: as no program should, and as a desktop's programs do
foreach(name IN ITEMS attacker kauthcaller)
    add_executable(${name} machine/${name}.cpp)
    target_link_libraries(${name} PRIVATE helperid KF${QT_MAJOR_VERSION}::AuthCore Qt${QT_MAJOR_VERSION}::DBus)
    add_dependencies(MachineTest ${name})
endforeach()
target_compile_definitions(MachineTest PRIVATE ATTACKER="$<TARGET_FILE:attacker>" KAUTHCALLER="$<TARGET_FILE:kauthcaller>")
