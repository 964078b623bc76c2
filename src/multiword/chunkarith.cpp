#include "multiword/chunkarith.h"

namespace ORVEX::multiword
{

void multiplyUnsigned(Chunk* dst, int n, Chunk const* a, int aCount, Chunk const* b, int bCount)
{
    Chunk carry = addProductOfRow<false>(dst, a, b[0], aCount);
    for (int j = 1; j < bCount; ++j) {
        dst[j + aCount - 1] = carry;
        carry = addProductOfRow(dst + j, a, b[j], aCount);
    }
    if (n > aCount + bCount - 1) dst[n - 1] = carry;
}

} // namespace ORVEX::multiword
