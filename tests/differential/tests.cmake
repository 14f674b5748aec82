# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_library(differentialsupport STATIC
    differential/FileGenerator.cpp
    differential/ModuleGenerator.cpp
    differential/SecondReadings.cpp
)
target_link_libraries(differentialsupport PUBLIC policies modulepolicies testsupport)
target_compile_definitions(differentialsupport PRIVATE SCRIPTS="${CMAKE_CURRENT_SOURCE_DIR}/differential")

add_unit_test(differential/ReadingTest SANDBOX COST 75 LIBRARIES differentialsupport)
add_unit_test(differential/RewritingTest SANDBOX COST 55 LIBRARIES differentialsupport pamtestsupport)
add_unit_test(differential/RealToolsTest SANDBOX COST 45 LIBRARIES differentialsupport)

add_library(pammachine STATIC differential/PamMachine.cpp endtoend/PamState.cpp)
target_link_libraries(pammachine PUBLIC differentialsupport)
add_unit_test(differential/PreviewedWritesTest SANDBOX COST 140 LIBRARIES pammachine client)
# a process with sanitizers starts each tool seven times as slowly
set_tests_properties(differential/PreviewedWritesTest PROPERTIES LABELS unsanitized)
target_compile_definitions(PreviewedWritesTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")

add_unit_test(differential/ModuleReadingTest SANDBOX COST 20 LIBRARIES differentialsupport)
target_compile_definitions(ModuleReadingTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
