// SPDX-License-Identifier: MIT
#include "hostpaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

// installed and inBuildTree are relative to the executable's folder.
QString locate(const QString &installed, const QString &inBuildTree)
{
    const QDir exeDir(QCoreApplication::applicationDirPath());
    const QString path = exeDir.absoluteFilePath(installed);
    if (QFileInfo(path).isDir())
        return QDir::cleanPath(path);
    return QDir::cleanPath(exeDir.absoluteFilePath(inBuildTree));
}

} // namespace

QString HostPaths::modules()
{
    return locate(QStringLiteral(CASCADE_MODULES_RELDIR), QStringLiteral("modules"));
}

QString HostPaths::translations()
{
    return locate(QStringLiteral(CASCADE_SHARE_RELDIR "/translations"), QStringLiteral("translations"));
}
