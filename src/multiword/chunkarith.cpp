#include "multiword/chunkarith.h"

namespace ORVEX::multiword
{

void multiplyUnsigned(Chunk* dst, int n, Chunk const* a, int aCount, Chunk const* b, int bCount)
{
    Chunk carry = addProductOfRow<false>(dst, a, b[0], std::min(aCount, n));
    for (int j = 1; j < bCount && j < n; ++j) {
        if (j + aCount <= n) dst[j + aCount - 1] = carry;
        carry = addProductOfRow(dst + j, a, b[j], std::min(aCount, n - j));
    }
    if (aCount + bCount <= n) dst[aCount + bCount - 1] = carry;
}

} // namespace ORVEX::multiword
