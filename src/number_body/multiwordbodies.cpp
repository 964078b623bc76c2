/// The multi-word bodies, instantiated.
#include "number_body/fixedbodyarith.h"
#include "number_body/fixedbodystores.h"
#include "number_body/fixedpointclasses.h"

template class ORVEX::number_body::FixedBody<ORVEX::number_body::ChunkStorage, 1>;
template class ORVEX::number_body::FixedBody<ORVEX::number_body::ChunkStorage, 2>;
