// SPDX-License-Identifier: MIT
#pragma once

// The few Qt calls that differ between the Qt 5 and the Qt 6 build, in one
// place. The Qt 5 build uses the Qt 5 classes as they are; the Qt 6 build
// uses their Qt 6 replacements, which accept the same input. Everything else
// in the tree is the same source for both.

#include <QLibraryInfo>
#include <QString>
#include <QValidator>
#include <QtGlobal>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QRegExp>
#include <QRegExpValidator>
#else
#include <QRegularExpression>
#include <QRegularExpressionValidator>
#endif

namespace qtcompat {

// A validator that admits exactly the texts the whole of which match the
// case-sensitive regular expression `pattern` (and their prefixes while
// typing). Qt 6 has no QRegExp; QRegularExpressionValidator anchors the
// pattern at both ends just as QRegExpValidator does.
inline QValidator *newRegExpValidator(const QString &pattern, QObject *parent)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return new QRegExpValidator(QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp), parent);
#else
    return new QRegularExpressionValidator(QRegularExpression(pattern), parent);
#endif
}

// Removes every match of the case-sensitive regular expression `pattern`.
inline QString &removeRegExp(QString &text, const QString &pattern)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return text.remove(QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp));
#else
    return text.remove(QRegularExpression(pattern));
#endif
}

// Where Qt's own translations (qtbase_*.qm) are installed.
inline QString qtTranslationsPath()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QLibraryInfo::location(QLibraryInfo::TranslationsPath);
#else
    return QLibraryInfo::path(QLibraryInfo::TranslationsPath);
#endif
}

} // namespace qtcompat
