#include "Kv_Data.h"
