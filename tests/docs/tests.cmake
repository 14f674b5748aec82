# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_bus_test(docs/ManualPagesTest LIBRARIES settings)
add_bus_test(docs/SchemaTest COST 40)

add_unit_test(docs/InterfaceTest SANDBOX LIBRARIES helperobject settings pamtestsupport)
target_sources(InterfaceTest PRIVATE support/InterfacePage.cpp)
target_compile_definitions(InterfaceTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}" COMPILER="${CMAKE_CXX_COMPILER}"
                           INCLUDES="$<JOIN:$<TARGET_PROPERTY:InterfaceTest,INCLUDE_DIRECTORIES>,:>")

add_unit_test(docs/NamedTestsTest)
target_sources(NamedTestsTest PRIVATE support/InterfacePage.cpp)
target_compile_definitions(NamedTestsTest PRIVATE SOURCES="${PROJECT_SOURCE_DIR}")
