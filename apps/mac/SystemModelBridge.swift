// The operating system's on-device model (FoundationModels, macOS 26 and later) behind the C
// interface of src/ai/system_model_bridge.h. Calls and conversions only: the prompts, the record
// descriptions and the reading of the answers are the C++ core's (BridgedSystemModel).
//
// The framework is weakly linked, so Skimlet starts on older systems; every use is behind an
// availability check, and on those systems the model simply reports itself unavailable.
import Foundation
#if canImport(FoundationModels)
import FoundationModels
#endif

public typealias SkimletTextSink = @convention(c) (UnsafeMutableRawPointer?, UnsafePointer<CChar>?) -> Void

@_cdecl("skimlet_system_model_available")
public func skimletSystemModelAvailable() -> Int32 {
#if canImport(FoundationModels)
  if #available(macOS 26.0, *) {
    if case .available = SystemLanguageModel.default.availability { return 1 }
  }
#endif
  return 0
}

@_cdecl("skimlet_system_model_generate_record")
public func skimletSystemModelGenerateRecord(_ instructions: UnsafePointer<CChar>, _ prompt: UnsafePointer<CChar>,
                                             _ record: UnsafePointer<CChar>, _ sink: SkimletTextSink,
                                             _ context: UnsafeMutableRawPointer?) -> Int32 {
#if canImport(FoundationModels)
  guard #available(macOS 26.0, *) else { return 1 }
  let instructionsText = String(cString: instructions)
  let promptText = String(cString: prompt)
  let recordText = String(cString: record)
  return waitFor {
    let schema = try generationSchema(recordText)
    let session = LanguageModelSession(instructions: instructionsText)
    let response = try await session.respond(to: promptText, schema: schema, includeSchemaInPrompt: true)
    response.content.jsonString.withCString { sink(context, $0) }
  }
#else
  return 1
#endif
}

@_cdecl("skimlet_system_model_stream_text")
public func skimletSystemModelStreamText(_ instructions: UnsafePointer<CChar>, _ prompt: UnsafePointer<CChar>,
                                         _ sink: SkimletTextSink, _ context: UnsafeMutableRawPointer?) -> Int32 {
#if canImport(FoundationModels)
  guard #available(macOS 26.0, *) else { return 1 }
  let instructionsText = String(cString: instructions)
  let promptText = String(cString: prompt)
  return waitFor {
    let session = LanguageModelSession(instructions: instructionsText)
    // Each snapshot holds the whole text so far.
    for try await snapshot in session.streamResponse(to: promptText) {
      snapshot.content.withCString { sink(context, $0) }
    }
  }
#else
  return 1
#endif
}

#if canImport(FoundationModels)
// The record described by the core ({"name", "fields": [{"name", "kind", "guide"}]}) as a
// schema built at run time; each guide becomes its property's description.
@available(macOS 26.0, *)
private func generationSchema(_ json: String) throws -> GenerationSchema {
  let object = (try JSONSerialization.jsonObject(with: Data(json.utf8))) as? [String: Any] ?? [:]
  let fields = object["fields"] as? [[String: String]] ?? []
  let properties = fields.map { field in
    DynamicGenerationSchema.Property(
      name: field["name"] ?? "",
      description: field["guide"],
      schema: field["kind"] == "integer" ? DynamicGenerationSchema(type: Int.self)
                                         : DynamicGenerationSchema(type: String.self))
  }
  let root = DynamicGenerationSchema(name: object["name"] as? String ?? "Record", properties: properties)
  return try GenerationSchema(root: root, dependencies: [])
}
#endif

// The core calls from its command worker, never from the main thread, and waits for the answer;
// 0 when the work finished, 1 when it threw.
private final class Status: @unchecked Sendable {
  var value: Int32 = 1
}

private func waitFor(_ work: @escaping () async throws -> Void) -> Int32 {
  let status = Status()
  let done = DispatchSemaphore(value: 0)
  Task.detached {
    do {
      try await work()
      status.value = 0
    } catch {
      status.value = 1
    }
    done.signal()
  }
  done.wait()
  return status.value
}
