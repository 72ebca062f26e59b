// Symbol visibility of libKv_Data. The library is compiled with hidden visibility;
// everything of its interface, exported data included, carries KV_DATA_API.
// On ELF the same attribute serves the library and its clients.
#pragma once

#define KV_DATA_API __attribute__((visibility("default")))
