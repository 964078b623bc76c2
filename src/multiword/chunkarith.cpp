#include "multiword/chunkarith.h"

namespace ORVEX::multiword
{

void multiplyUnsigned(Chunk* dst, int n, Chunk const* a, int aCount, Chunk const* b, int bCount)
{
    clearChunks(dst, n);
    for (int j = 0; j < bCount && j < n; ++j) {
        int const row = std::min(aCount, n - j);
        Chunk const carry = addProductOfRow(dst + j, a, b[j], row);
        // The place above the row has not been written yet, so that the carry needs no ripple.
        if (j + row < n) dst[j + row] = carry;
    }
}

} // namespace ORVEX::multiword
