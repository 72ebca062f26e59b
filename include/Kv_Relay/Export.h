// Symbol visibility of libKv_Relay: compiled with hidden visibility, its interface
// carries KV_RELAY_API.
#pragma once

#define KV_RELAY_API __attribute__((visibility("default")))
