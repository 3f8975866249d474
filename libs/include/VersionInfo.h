// SPDX-License-Identifier: MIT
// Three-part version number (major.minor.patch) of a controller's firmware or
// protocol. A patch of -1 stands for "no patch level" and compares equal to
// any patch, so (1, 9, -1) meets a minimum of (1, 9, 0).
#pragma once

#include <QString>
#include <QStringList>

class VersionInfo
{
public:
    VersionInfo(int major = 0, int minor = 0, int patch = -1) : ma(major), mi(minor), pa(patch) {}

    void setVer(int major, int minor, int patch)
    {
        ma = major;
        mi = minor;
        pa = patch;
    }

    // Accepts "1.9.0", "1.9" (patch -1) and an optional leading "v"/"V",
    // surrounding blanks allowed. Anything else reports failure through ok
    // and returns 0.0.-1.
    static VersionInfo fromString(const QString &text, bool *ok = nullptr)
    {
        QString t = text.trimmed();
        if (t.startsWith(QLatin1Char('v')) || t.startsWith(QLatin1Char('V')))
            t.remove(0, 1);
        const QStringList parts = t.split(QLatin1Char('.'));
        int n[3] = {0, 0, -1};
        bool good = parts.size() == 2 || parts.size() == 3;
        for (int i = 0; good && i < parts.size(); ++i) {
            const QString &p = parts.at(i);
            bool conv = false;
            n[i] = p.toInt(&conv);
            good = conv && !p.isEmpty() && p.at(0).isDigit();
        }
        if (ok)
            *ok = good;
        return good ? VersionInfo(n[0], n[1], n[2]) : VersionInfo(0, 0, -1);
    }

    // "1.9.0", or "1.9" when the patch level is -1.
    QString toString() const
    {
        if (pa == -1)
            return QStringLiteral("%1.%2").arg(ma).arg(mi);
        return QStringLiteral("%1.%2.%3").arg(ma).arg(mi).arg(pa);
    }

    bool operator==(const VersionInfo &o) const { return compare(o) == 0; }
    bool operator!=(const VersionInfo &o) const { return compare(o) != 0; }
    bool operator>(const VersionInfo &o) const { return compare(o) > 0; }
    bool operator>=(const VersionInfo &o) const { return compare(o) >= 0; }
    bool operator<(const VersionInfo &o) const { return compare(o) < 0; }
    bool operator<=(const VersionInfo &o) const { return compare(o) <= 0; }

    int major() const { return ma; }
    int minor() const { return mi; }
    int patch() const { return pa; }

private:
    // Negative, zero or positive as *this is below, equal to or above o.
    // Only -1 is the wildcard patch; other negative patches compare as numbers.
    int compare(const VersionInfo &o) const
    {
        if (ma != o.ma)
            return ma < o.ma ? -1 : 1;
        if (mi != o.mi)
            return mi < o.mi ? -1 : 1;
        if (pa == -1 || o.pa == -1 || pa == o.pa)
            return 0;
        return pa < o.pa ? -1 : 1;
    }

    int ma;
    int mi;
    int pa;
};
