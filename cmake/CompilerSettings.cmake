# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual)
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_KEYWORDS QT_NO_URL_CAST_FROM_STRING)

# include paths start at the root of the sources
include_directories(${PROJECT_SOURCE_DIR})
