#include <orvex/hardware/hwintegerwordlengths.h>

WordLengthBasePredicate::~WordLengthBasePredicate() = default;

HWIntegerWordLengths::~HWIntegerWordLengths() = default;
