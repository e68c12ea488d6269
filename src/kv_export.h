// The one export macro of the engine.
//
// The library is built with hidden visibility; only what a client may call is
// marked KVENG_API: the exported functions and classes of the client
// interface (kv_eng.h). Everything else stays inside libkv_eng.so.
#pragma once

#define KVENG_API __attribute__((visibility("default")))
