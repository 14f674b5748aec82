# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# Qt 5 with Frameworks 5, or Qt 6 with Frameworks 6: named as Frameworks' build tools name it, or what the machine has.
if(NOT QT_MAJOR_VERSION)
    find_package(Qt6 QUIET COMPONENTS Core5Compat)
    find_package(KF6Auth QUIET)
    if(Qt6_FOUND AND KF6Auth_FOUND)
        set(QT_MAJOR_VERSION 6)
    else()
        set(QT_MAJOR_VERSION 5)
    endif()
endif()

if(QT_MAJOR_VERSION EQUAL 6)
    set(QT_MIN_VERSION 6.6)
    set(KF_MIN_VERSION 6.0)
    # QRegExp and QTextCodec are not in Qt's core any more
    find_package(Qt6 ${QT_MIN_VERSION} REQUIRED COMPONENTS Core5Compat)
    set(COMPAT_LIBRARY Qt6::Core5Compat)
else()
    set(QT_MIN_VERSION 5.15)
    set(KF_MIN_VERSION 5.103)
    set(COMPAT_LIBRARY Qt5::Core)
endif()
