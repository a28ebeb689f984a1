// The Swift functions of SystemModelBridge.swift as the C bridge the core's BridgedSystemModel
// calls.
#pragma once

#include "ai/system_model_bridge.h"

extern "C" {
int skimlet_system_model_available(void);
int skimlet_system_model_generate_record(const char* instructions, const char* prompt, const char* record,
                                         SkimletTextSink sink, void* context);
int skimlet_system_model_stream_text(const char* instructions, const char* prompt, SkimletTextSink sink, void* context);
}

namespace skimlet::mac {

inline SkimletSystemModelBridge systemModelBridge() {
  return SkimletSystemModelBridge{skimlet_system_model_available, skimlet_system_model_generate_record,
                                  skimlet_system_model_stream_text};
}

}  // namespace skimlet::mac
