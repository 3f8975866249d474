// SPDX-License-Identifier: MIT
// Versions and model name of the controller the host is connected to. Filled
// by the host, read-only for modules.
#pragma once

#include <QMetaType>
#include <QString>

#include "VersionInfo.h"

class BackendVersions
{
public:
    BackendVersions(VersionInfo sysPt = VersionInfo(), VersionInfo prot = VersionInfo(),
                    VersionInfo sysCt = VersionInfo(), QString mod = QString())
        : sysPt(sysPt), prot(prot), sysCt(sysCt), mod(mod)
    {
    }

    const VersionInfo &systemPt() const { return sysPt; }
    const VersionInfo &protocol() const { return prot; }
    const VersionInfo &systemCt() const { return sysCt; }
    const QString &ctrlModel() const { return mod; }

private:
    VersionInfo sysPt; // system version of the controller's processing unit
    VersionInfo prot;   // version of the controller's command protocol
    VersionInfo sysCt; // system version of the controller's control unit
    QString mod;         // model name, e.g. "VESTRAL"
};

Q_DECLARE_METATYPE(BackendVersions *)
