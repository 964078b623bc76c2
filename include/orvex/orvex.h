/// \file
/// All of liborvex.
#pragma once

/// \namespace ORVEX
/// Numbers, clients for events, and decisions about types. A few older names stand at global scope; nearly
/// all of those can be written with ORVEX:: too.

/// \namespace Orvex
/// The messages of the library, by subject.

/// \namespace Orvex::number
/// Messages about numbers: what a kvxDiagnosticException carries.

/// \namespace Orvex::typeBasic
/// Messages about types.

/// \namespace resource_core
/// What all messages are derived from.

#include <orvex/client/eventcounter.h>
#include <orvex/client/eventlog.h>
#include <orvex/client/events.h>
#include <orvex/client/forwardingclient.h>
#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientnull.h>
#include <orvex/client/fxpclientwithreporting.h>
#include <orvex/client/orvexclientinterface.h>
#include <orvex/foundation/diagnostics.h>
#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/foundation/kvxfeature.h>
#include <orvex/foundation/messages.h>
#include <orvex/foundation/numberutils.h>
#include <orvex/foundation/version.h>
#include <orvex/hardware/asicintegerwordlengths.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/hardware/hwintegerwordlengths.h>
#include <orvex/hardware/microintegerwordlengths.h>
#include <orvex/hardware/wordlengthiterator.h>
#include <orvex/multiword/mpr_quantize.h>
#include <orvex/number/cast.h>
#include <orvex/number/number.h>
#include <orvex/number/replay.h>
#include <orvex/number_body/numberbody.h>
#include <orvex/number_body/numberbodyfactory.h>
#include <orvex/type_basic/cachekeytype.h>
#include <orvex/type_basic/castmixfloatfixptrealization.h>
#include <orvex/type_basic/castrisk.h>
#include <orvex/type_basic/discardbitsformaxsize.h>
#include <orvex/type_basic/fxpcastgetnetnominaldatatypes.h>
#include <orvex/type_basic/fxpoperationchoices.h>
#include <orvex/type_basic/fxpscalaroversized.h>
#include <orvex/type_basic/fxpselectradixtypeconditions.h>
#include <orvex/type_basic/selectcastintermediatedatatype.h>
#include <orvex/type_basic/selectradixdatatype.h>
#include <orvex/type_basic/selectslopecorrectiondatatype.h>
#include <orvex/type_basic/slopenormalize.h>
