# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(translations/SourceTextsTest)
target_sources(SourceTextsTest PRIVATE support/InterfacePage.cpp)
target_compile_definitions(SourceTextsTest PRIVATE
    SOURCES="${PROJECT_SOURCE_DIR}" LUPDATE="/usr/lib/qt${QT_MAJOR_VERSION}/bin/lupdate")
