# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later
#
# For builds that compile the product's sources a thousand times over, included by CMAKE_PROJECT_INCLUDE. Without it they
# go without precompiled headers, which keeps their includes honest.

function(precompile_product)
    foreach(target messages tasks engine policies helperobject settings client)
        target_precompile_headers(${target} PRIVATE
            <QCoreApplication> <QDateTime> <QDir> <QFile> <QJsonDocument> <QJsonObject> <QProcess> <QRegExp>
            <QRegularExpression> <QStringList> <QVariantMap> <QVector> <algorithm> <functional> <memory>)
    endforeach()
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL precompile_product)
