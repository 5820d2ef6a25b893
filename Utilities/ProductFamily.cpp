#include "Utilities/ProductFamily.h"

#include <cstring>

#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskAssert.h"

namespace {

struct ProductRow_T {
    const char* Variable;
    ProductFamily_T Family;
};

// Models whose ids share their first six characters are told apart by this
// order alone: the earlier row wins.
constexpr ProductRow_T cProductRows[] = {
    {"PRODUCT_ID_ORVA1", 1},  {"PRODUCT_ID_ORVA2", 1},  {"PRODUCT_ID_ORVA3", 1},  {"PRODUCT_ID_ORVA4", 1},
    {"PRODUCT_ID_ORVA5", 1},  {"PRODUCT_ID_ORVA6", 1},  {"PRODUCT_ID_ORVA7", 1},  {"PRODUCT_ID_ORVA8", 1},
    {"PRODUCT_ID_ORVA9", 1},  {"PRODUCT_ID_ORVA10", 1}, {"PRODUCT_ID_ORVA11", 1}, {"PRODUCT_ID_BELTA", 3},
    {"PRODUCT_ID_BELTA2", 4}, {"PRODUCT_ID_CIRNA1", 2}, {"PRODUCT_ID_CIRNA2", 2}, {"PRODUCT_ID_CIRNA3", 2},
    {"PRODUCT_ID_CIRNA4", 2}, {"PRODUCT_ID_DUSKO1", 5}, {"PRODUCT_ID_DUSKO2", 6}, {"PRODUCT_ID_DUSKO3", 7},
    {"PRODUCT_ID_DUSKO4", 8}, {"PRODUCT_ID_DUSKO5", 9},
};

constexpr size_t cComparedCharacters = 6;

} // namespace

ProductFamily_T GetProductFamily(IOSSFactory* pFactory)
{
    VESK_ASSERT(pFactory);
    const char* productId = pFactory->GetEnv("PRODUCT_ID");
    if (productId == nullptr) {
        return cProductFamilyUnknown;
    }
    for (const ProductRow_T& row : cProductRows) {
        const char* model = pFactory->GetEnv(row.Variable);
        if (model != nullptr && std::strncmp(productId, model, cComparedCharacters) == 0) {
            return row.Family;
        }
    }
    return cProductFamilyUnknown;
}

const char* GetProductModelVariable(size_t Index)
{
    return Index < sizeof(cProductRows) / sizeof(cProductRows[0]) ? cProductRows[Index].Variable : nullptr;
}
