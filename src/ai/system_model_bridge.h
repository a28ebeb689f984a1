/* The C interface of the operating system's model. On macOS a small Swift file implements it
   over FoundationModels (Swift has no C++ interface that a CMake build of this project can rely
   on); C++ reaches it only through BridgedSystemModel. Plain C, so both sides read it alike. */
#ifndef SKIMLET_AI_SYSTEM_MODEL_BRIDGE_H
#define SKIMLET_AI_SYSTEM_MODEL_BRIDGE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Receives UTF-8 text; `context` is the caller's. */
typedef void (*SkimletTextSink)(void* context, const char* utf8);

typedef struct SkimletSystemModelBridge {
  /* 1 when the system model can answer now (operating system new enough, model ready). */
  int (*available)(void);
  /* Guided generation of one record described by `recordJSON` ({"name", "fields": [{"name",
     "kind": "text" | "integer", "guide"}]}) in a fresh session with `instructions`. The complete
     record's JSON goes to `sink` once. 0 on success. */
  int (*generateRecord)(const char* instructions, const char* prompt, const char* recordJSON, SkimletTextSink sink,
                        void* context);
  /* Plain text in a fresh session; `sink` receives the whole text so far at each step, the last
     call holding the complete answer. 0 on success. */
  int (*streamText)(const char* instructions, const char* prompt, SkimletTextSink sink, void* context);
} SkimletSystemModelBridge;

#ifdef __cplusplus
}
#endif

#endif
