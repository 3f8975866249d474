// SPDX-License-Identifier: MIT
// Host types: VersionInfo ordering and text form, and the virtual-table
// positions that modules built elsewhere depend on.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "IOManager.h"
#include "ModuleInterface.h"
#include "VersionInfo.h"

namespace {

TEST(VersionInfo, ComparisonsWithTheWildcardPatch)
{
    struct { VersionInfo a, b; int order; } cases[] = { // order: -1 a < b, 0 equal, 1 a > b
        {{1, 7, -1}, {1, 7, 0}, 0},  {{1, 9, 5}, {1, 9, -1}, 0}, // -1 matches any patch
        {{1, 9, -2}, {1, 9, 0}, -1},                             // only -1 is the wildcard
        {{1, 6, 99}, {1, 7, 0}, -1}, {{1, 10, -1}, {1, 9, 0}, 1}, {{2, 0, 0}, {1, 99, 99}, 1},
        {{1, 9, 10}, {1, 9, 9}, 1},  {{1, 9, 0}, {1, 9, 0}, 0},
    };
    for (const auto &c : cases) {
        const std::string what = c.a.toString().toStdString() + " vs " + c.b.toString().toStdString();
        EXPECT_EQ(c.a == c.b, c.order == 0) << what;
        EXPECT_EQ(c.a != c.b, c.order != 0) << what;
        EXPECT_EQ(c.a < c.b, c.order < 0) << what;
        EXPECT_EQ(c.a > c.b, c.order > 0) << what;
        EXPECT_EQ(c.a <= c.b, c.order <= 0) << what;
        EXPECT_EQ(c.a >= c.b, c.order >= 0) << what;
    }
}

TEST(VersionInfo, TextForm)
{
    for (const VersionInfo &v : {VersionInfo(1, 9, 0), VersionInfo(1, 7, -1), VersionInfo(12, 0, 34)}) {
        bool ok = false;
        const VersionInfo back = VersionInfo::fromString(v.toString(), &ok);
        EXPECT_TRUE(ok && back.major() == v.major() && back.minor() == v.minor() && back.patch() == v.patch())
            << v.toString().toStdString();
    }
    for (const char *text : {"", "1", "1.x.0", "1.2.3.4", "1..2", "-1.2.3"}) {
        bool ok = true;
        VersionInfo::fromString(QString::fromLatin1(text), &ok);
        EXPECT_FALSE(ok) << '"' << text << '"';
    }
}

// Under the Itanium C++ ABI a pointer to a virtual member function holds
// 1 + the function's byte offset in the virtual table in its first word.
template <typename PMF>
long slot(PMF pmf)
{
    static_assert(sizeof(PMF) == 2 * sizeof(std::uintptr_t), "not an Itanium member pointer");
    std::uintptr_t word[2];
    std::memcpy(word, &pmf, sizeof word);
    return (word[0] & 1u) ? long((word[0] - 1) / sizeof(void *)) : -1;
}

TEST(VtableSlots, WhereModulesCallThem)
{
    EXPECT_EQ(slot(&IOManager::set_timeout), 3);
    EXPECT_EQ(slot(&IOManager::send_command), 4);
    EXPECT_EQ(slot(&IOManager::get_parameter), 6);
    EXPECT_EQ(slot(&IOManager::get_parameter_int), 7);
    EXPECT_EQ(slot(&IOManager::set_parameter), 12);
    EXPECT_EQ(slot(&IOManager::send_message), 17);
    EXPECT_EQ(slot(&ModuleInterface::about_to_exit_module), 2);
    EXPECT_EQ(slot(&ModuleInterface::exit_module), 3);
    EXPECT_EQ(slot(&ModuleInterface::get_gui_elements), 6);
    EXPECT_EQ(slot(&ModuleInterface::set_param), 7);
}

} // namespace
