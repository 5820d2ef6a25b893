#ifndef UTILITIES_PRODUCTFAMILY_H
#define UTILITIES_PRODUCTFAMILY_H

#include <cstddef>

class IOSSFactory;

// Product family of the unit, 0..9; 0 when the product is none of the known
// models. The numbers are stored and compared by several tasks: fixed.
using ProductFamily_T = int;

constexpr ProductFamily_T cProductFamilyUnknown = 0;
constexpr ProductFamily_T cProductFamilyMasterBottom = 9;

// Compares PRODUCT_ID with each PRODUCT_ID_<model> variable over at most its
// first six characters (product ids carry suffixes that must not matter), in
// a fixed order; the first equal row gives the family. An unset variable is a
// row that does not match.
ProductFamily_T GetProductFamily(IOSSFactory* pFactory);

// The model variables the lookup reads, in its order; null past the last.
const char* GetProductModelVariable(size_t Index);

#endif
