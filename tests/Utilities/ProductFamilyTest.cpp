#include "Utilities/ProductFamily.h"

#include <gtest/gtest.h>

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class ProductFamilyTest : public ::testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    ProductFamily_T FamilyOf(const char* ProductId)
    {
        m_Sandbox.SetEnv("PRODUCT_ID", ProductId);
        return GetProductFamily(&m_Factory);
    }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

TEST_F(ProductFamilyTest, EveryModelHasItsFamily)
{
    const struct {
        const char* Model;
        ProductFamily_T Family;
    } rows[] = {{"ORVA1", 1},  {"ORVA11", 1}, {"CIRNA1", 2}, {"CIRNA4", 2}, {"BELTA", 3},  {"BELTA2", 4},
                {"DUSKO1", 5}, {"DUSKO2", 6}, {"DUSKO3", 7}, {"DUSKO4", 8}, {"DUSKO5", 9}};
    for (const auto& row : rows) {
        const std::string variable = std::string("PRODUCT_ID_") + row.Model;
        EXPECT_EQ(FamilyOf(std::getenv(variable.c_str())), row.Family) << row.Model;
    }
    EXPECT_EQ(FamilyOf("nothing like it"), cProductFamilyUnknown);
    EXPECT_EQ(FamilyOf(nullptr), cProductFamilyUnknown);
}

// Only the first six characters count, an unset model matches nothing, and
// the earlier row wins when two models share their first six characters.
TEST_F(ProductFamilyTest, MatchingComparesTheFirstSixCharactersInRowOrder)
{
    m_Sandbox.SetEnv("PRODUCT_ID_DUSKO5", "DSK5-0001");
    EXPECT_EQ(FamilyOf("DSK5-0rev7"), 9);
    EXPECT_EQ(FamilyOf("DSK5-1"), cProductFamilyUnknown);
    m_Sandbox.SetEnv("PRODUCT_ID_DUSKO5", "D5");
    EXPECT_EQ(FamilyOf("D5"), 9);
    EXPECT_EQ(FamilyOf("D"), cProductFamilyUnknown);
    m_Sandbox.SetEnv("PRODUCT_ID_ORVA1", nullptr);
    EXPECT_EQ(FamilyOf("D5"), 9);
    m_Sandbox.SetEnv("PRODUCT_ID_ORVA1", "SHARED-A");
    m_Sandbox.SetEnv("PRODUCT_ID_DUSKO5", "SHARED-B");
    EXPECT_EQ(FamilyOf("SHARED-B"), 1);
}

} // namespace
