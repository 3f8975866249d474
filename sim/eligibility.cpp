// SPDX-License-Identifier: MIT
#include "eligibility.h"

#include <QByteArray>
#include <cstdio>

#include "ControllerProtocol.h"

bool versionQualifies(const QString &version)
{
    unsigned ma = 0, mi = 0, pa = 0;
    const QByteArray v = version.toLatin1();
    const char *p = v.constData();
    if (*p == 'v')
        ++p;
    if (std::sscanf(p, "%u.%u.%u", &ma, &mi, &pa) != 3)
        return false;
    return ma > 2 || (ma == 2 && mi >= 6);
}

bool mayBecomeSlave(const QString &access, const QString &version, const QString &canSlave)
{
    return access == QLatin1String("full") && versionQualifies(version)
           && canSlave == QLatin1String(ControllerProtocol::Yes);
}
