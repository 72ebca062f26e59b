// Kv_Data: the electrical arithmetic of protection-relay testing.
// Including this header gives the whole interface of the library.
#pragma once

#include "Kv_Data/Catalogue.h"
#include "Kv_Data/Diag.h"
#include "Kv_Data/Fault.h"
#include "Kv_Data/Phasor.h"
#include "Kv_Data/Platform.h"
#include "Kv_Data/State.h"
#include "Kv_Data/ThreePhase.h"
#include "Kv_Data/Util.h"
