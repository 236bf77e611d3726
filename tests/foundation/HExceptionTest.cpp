#include "foundation/HException.h"
#include <gtest/gtest.h>

TEST(HExceptionCarriesText, CaughtByBaseReference)
{
    try {
        throw HException(QStringLiteral("cannot open xml file /x.xml"));
    } catch (const HException &e) {
        EXPECT_EQ(e.message(), QStringLiteral("cannot open xml file /x.xml"));
    }
}
