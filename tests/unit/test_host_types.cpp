// Host types: VersionInfo ordering and text form, and the virtual-table
// positions of IOManager and ModuleInterface that modules built elsewhere
// depend on.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "IOManager.h"
#include "ModuleInterface.h"
#include "VersionInfo.h"

// Failure messages show versions as (major, minor, patch). Global, so that
// argument-dependent lookup finds it for VersionInfo.
static std::ostream &operator<<(std::ostream &os, const VersionInfo &v)
{
    return os << '(' << v.major() << ", " << v.minor() << ", " << v.patch() << ')';
}

namespace {

// ---- VersionInfo comparisons ----------------------------------------------

struct VersionCase
{
    VersionInfo a;
    VersionInfo b;
    bool eq, lt, gt; // expected a == b, a < b, a > b
};

void PrintTo(const VersionCase &c, std::ostream *os)
{
    *os << c.a << " vs " << c.b;
}

class VersionCompare : public ::testing::TestWithParam<VersionCase>
{
};

TEST_P(VersionCompare, AllSixOperatorsAgree)
{
    const VersionCase &c = GetParam();
    EXPECT_EQ(c.a == c.b, c.eq) << c.a << " == " << c.b;
    EXPECT_EQ(c.a != c.b, !c.eq) << c.a << " != " << c.b;
    EXPECT_EQ(c.a < c.b, c.lt) << c.a << " < " << c.b;
    EXPECT_EQ(c.a > c.b, c.gt) << c.a << " > " << c.b;
    EXPECT_EQ(c.a <= c.b, c.lt || c.eq) << c.a << " <= " << c.b;
    EXPECT_EQ(c.a >= c.b, c.gt || c.eq) << c.a << " >= " << c.b;
}

INSTANTIATE_TEST_SUITE_P(
    Table, VersionCompare,
    ::testing::Values(
        // A patch of -1 matches any patch, on either side.
        VersionCase{{1, 7, -1}, {1, 7, 0}, true, false, false},
        VersionCase{{1, 9, -1}, {1, 9, 0}, true, false, false},
        VersionCase{{1, 9, 5}, {1, 9, -1}, true, false, false},
        // Only -1 is the wildcard: -2 is an ordinary (small) number.
        VersionCase{{1, 9, -2}, {1, 9, 0}, false, true, false},
        // Minor before patch, major before minor.
        VersionCase{{1, 6, 99}, {1, 7, 0}, false, true, false},
        VersionCase{{1, 10, 0}, {1, 9, 0}, false, false, true},
        VersionCase{{1, 10, -1}, {1, 9, 0}, false, false, true},
        VersionCase{{1, 10, -7}, {1, 9, 0}, false, false, true},
        VersionCase{{2, 0, 0}, {1, 99, 99}, false, false, true},
        // Numeric, not textual, order.
        VersionCase{{1, 9, 10}, {1, 9, 9}, false, false, true},
        VersionCase{{1, 9, 0}, {1, 9, 0}, true, false, false}));

// ---- VersionInfo text form --------------------------------------------------

TEST(VersionInfoText, RoundTripsThroughToString)
{
    for (const VersionInfo &v : {VersionInfo(1, 9, 0), VersionInfo(1, 7, -1), VersionInfo(12, 0, 34)}) {
        bool ok = false;
        const VersionInfo back = VersionInfo::fromString(v.toString(), &ok);
        EXPECT_TRUE(ok) << v.toString().toStdString();
        EXPECT_EQ(back.major(), v.major());
        EXPECT_EQ(back.minor(), v.minor());
        EXPECT_EQ(back.patch(), v.patch()) << v.toString().toStdString();
    }
}

TEST(VersionInfoText, RejectsMalformedText)
{
    for (const char *text : {"", "1", "1.x.0", "1.2.3.4", "a.b", "1..2", "-1.2.3"}) {
        bool ok = true;
        VersionInfo::fromString(QString::fromLatin1(text), &ok);
        EXPECT_FALSE(ok) << '"' << text << '"';
    }
}

// ---- virtual-table slots ------------------------------------------------------

// Under the Itanium C++ ABI a pointer to a virtual member function holds
// 1 + the function's byte offset in the virtual table in its first word
// (the second word is the this-adjustment). The slot follows from that.
template <typename PMF>
long vtableSlot(PMF pmf)
{
    static_assert(sizeof(PMF) == 2 * sizeof(std::uintptr_t), "not an Itanium member pointer");
    std::uintptr_t word[2];
    std::memcpy(word, &pmf, sizeof word);
    if ((word[0] & 1u) == 0)
        return -1; // not virtual
    return static_cast<long>((word[0] - 1) / sizeof(void *));
}

TEST(VtableSlots, IOManagerOperationsSitWhereModulesCallThem)
{
    EXPECT_EQ(vtableSlot(&IOManager::set_timeout), 3);
    EXPECT_EQ(vtableSlot(&IOManager::send_command), 4);
    EXPECT_EQ(vtableSlot(&IOManager::get_parameter), 6);
    EXPECT_EQ(vtableSlot(&IOManager::get_parameter_int), 7);
    EXPECT_EQ(vtableSlot(&IOManager::set_parameter), 12);
    EXPECT_EQ(vtableSlot(&IOManager::send_message), 17);
}

TEST(VtableSlots, ModuleInterfaceOperations)
{
    EXPECT_EQ(vtableSlot(&ModuleInterface::about_to_exit_module), 2);
    EXPECT_EQ(vtableSlot(&ModuleInterface::exit_module), 3);
    EXPECT_EQ(vtableSlot(&ModuleInterface::get_module_name), 4);
    EXPECT_EQ(vtableSlot(&ModuleInterface::get_module_version), 5);
    EXPECT_EQ(vtableSlot(&ModuleInterface::get_gui_elements), 6);
    EXPECT_EQ(vtableSlot(&ModuleInterface::set_param), 7);
}

} // namespace
