// Providers are built apart from the environment and meet it only through virtual tables, so
// the slot of every operation is part of the interface and must not move.
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// The virtual table slot a pointer to a virtual member function names. Under the C++ ABI of
// this platform such a pointer holds one plus the function's byte offset in the table.
template <typename Member> int slotOf(Member member)
{
    struct Raw {
        std::uintptr_t pointer;
        std::ptrdiff_t adjustment;
    };
    static_assert(sizeof(Member) == sizeof(Raw));
    Raw raw;
    std::memcpy(&raw, &member, sizeof raw);
    return (raw.pointer & 1) ? int((raw.pointer - 1) / sizeof(void *)) : -1;
}

struct SlotCase {
    const char *name;
    int slot;
    int expected;
};

using Provider = SourceCodeControlSystemInterface;
using Services = SourceCodeControlSystemProviderInterfaceHelpers;

class InterfaceSlot : public ::testing::TestWithParam<SlotCase> {};

TEST_P(InterfaceSlot, StaysWhereProvidersExpectIt)
{
    EXPECT_EQ(GetParam().slot, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Provider, InterfaceSlot,
    ::testing::Values(SlotCase{"name", slotOf(&Provider::name), 2},
                      SlotCase{"setProperties", slotOf(&Provider::setProperties), 3},
                      SlotCase{"setLogin", slotOf(&Provider::setLogin), 4},
                      SlotCase{"available", slotOf(&Provider::available), 5},
                      SlotCase{"version", slotOf(&Provider::version), 6},
                      SlotCase{"workingCopyRoot", slotOf(&Provider::workingCopyRoot), 7},
                      SlotCase{"probe", slotOf(&Provider::probe), 8},
                      SlotCase{"queryStatus", slotOf(&Provider::queryStatus), 9},
                      SlotCase{"add", slotOf(&Provider::add), 10},
                      SlotCase{"remove", slotOf(&Provider::remove), 11},
                      SlotCase{"diffForCompare", slotOf(&Provider::diff), 12},
                      SlotCase{"commit", slotOf(&Provider::commit), 13},
                      SlotCase{"revert", slotOf(&Provider::revert), 14},
                      SlotCase{"branches", slotOf(&Provider::branches), 15},
                      SlotCase{"switchBranch", slotOf(&Provider::switchBranch), 16},
                      SlotCase{"merge", slotOf(&Provider::merge), 17},
                      SlotCase{"logForShowLog", slotOf(&Provider::log), 18},
                      SlotCase{"history", slotOf(&Provider::history), 19},
                      SlotCase{"fileAtRevision", slotOf(&Provider::fileAtRevision), 20}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Services, InterfaceSlot,
    ::testing::Values(SlotCase{"runCommand", slotOf(&Services::runCommand), 0},
                      SlotCase{"lastOutput", slotOf(&Services::lastOutput), 3},
                      SlotCase{"standardOutputLines", slotOf(&Services::standardOutputLines), 4},
                      SlotCase{"standardErrorLines", slotOf(&Services::standardErrorLines), 5}),
    [](const auto &info) { return std::string(info.param.name); });

}   // namespace
