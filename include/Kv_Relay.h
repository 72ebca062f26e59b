// Kv_Relay: the engineering layer of protection-relay testing on top of Kv_Data.
// Including this header gives the whole interface of the layer.
#pragma once

#include "Kv_Relay/Assessment.h"
#include "Kv_Relay/CatalogueFault.h"
#include "Kv_Relay/Components.h"
#include "Kv_Relay/Comtrade.h"
#include "Kv_Relay/DeviceLimits.h"
#include "Kv_Relay/Error.h"
#include "Kv_Relay/ImpedanceFault.h"
#include "Kv_Relay/Input.h"
#include "Kv_Relay/Phasors.h"
#include "Kv_Relay/SamplePhasors.h"
#include "Kv_Relay/Sequence.h"
#include "Kv_Relay/Waveforms.h"
