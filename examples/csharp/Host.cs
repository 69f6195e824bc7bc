// SPDX-License-Identifier: Apache-2.0
// A host in C#: Host.exe URL QUESTION, against the stand-in or any server of the OpenAI format. It keeps the
// conversation itself, asks twice, and ends a third question from another thread.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

struct ZeaText { public IntPtr Data; public UIntPtr Size; }

[UnmanagedFunctionPointer(CallingConvention.Cdecl)] delegate int SetDocument(IntPtr context, ZeaText document);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)] delegate int GetDocument(IntPtr context, IntPtr sink);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)] delegate int AddEntry(IntPtr context, int role, ZeaText text);
[UnmanagedFunctionPointer(CallingConvention.Cdecl)] delegate int GetEntries(IntPtr context, int limit, IntPtr sink);

struct MemoryFunctions {
  public UIntPtr RecordSize; public IntPtr Context;
  public SetDocument SetDocument; public GetDocument GetDocument; public AddEntry AddEntry; public GetEntries GetEntries;
}

struct AssistantOptions {
  public UIntPtr RecordSize; public uint Provider; public ZeaText Key; public ZeaText Host; public IntPtr Memory; public IntPtr Cancel;
}

static class Zea {
  const string Library = "libzeac.so.0.1";
  [DllImport(Library)] public static extern ZeaText zeac_string_text(IntPtr text);
  [DllImport(Library)] public static extern void zeac_string_free(IntPtr text);
  [DllImport(Library)] public static extern int zeac_cancel_create(out IntPtr cancel);
  [DllImport(Library)] public static extern void zeac_cancel_now(IntPtr cancel);
  [DllImport(Library)] public static extern void zeac_cancel_free(IntPtr cancel);
  [DllImport(Library)] public static extern int zeac_memory_create(ref MemoryFunctions functions, out IntPtr memory);
  [DllImport(Library)] public static extern void zeac_memory_free(IntPtr memory);
  [DllImport(Library)] public static extern int zeac_sink_text(IntPtr sink, ZeaText text);
  [DllImport(Library)] public static extern int zeac_sink_entry(IntPtr sink, int role, ZeaText text);
  [DllImport(Library)] public static extern int zeac_assistant_create(ref AssistantOptions options, out IntPtr assistant, out IntPtr sentence);
  [DllImport(Library)] public static extern void zeac_assistant_free(IntPtr assistant);
  [DllImport(Library)] public static extern int zeac_assistant_set_text(IntPtr assistant, ZeaText name, ZeaText value, out IntPtr sentence);
  [DllImport(Library)] public static extern int zeac_assistant_ask(IntPtr assistant, ZeaText question, out IntPtr reply, out IntPtr sentence);
}

// A text in memory that stays where it is until it is disposed of.
sealed class Borrowed : IDisposable {
  GCHandle handle;
  public ZeaText Text;
  public Borrowed(string text) {
    byte[] bytes = Encoding.UTF8.GetBytes(text);
    handle = GCHandle.Alloc(bytes, GCHandleType.Pinned);
    Text.Data = handle.AddrOfPinnedObject();
    Text.Size = (UIntPtr)bytes.Length;
  }
  public void Dispose() { handle.Free(); }
}

static class Host {
  static string document = "";
  static readonly List<KeyValuePair<int, string>> turns = new List<KeyValuePair<int, string>>();

  static string Read(ZeaText text) {
    var bytes = new byte[(int)text.Size];
    if (bytes.Length > 0) Marshal.Copy(text.Data, bytes, 0, bytes.Length);
    return Encoding.UTF8.GetString(bytes);
  }

  static string Take(IntPtr text) {
    string result = Read(Zea.zeac_string_text(text));
    Zea.zeac_string_free(text);
    return result;
  }

  static void Set(IntPtr assistant, string name, string value) {
    IntPtr sentence;
    using (var n = new Borrowed(name)) using (var v = new Borrowed(value)) {
      if (Zea.zeac_assistant_set_text(assistant, n.Text, v.Text, out sentence) != 0) throw new Exception(Take(sentence));
    }
  }

  static string Ask(IntPtr assistant, string question) {
    IntPtr reply, sentence;
    using (var text = new Borrowed(question)) {
      if (Zea.zeac_assistant_ask(assistant, text.Text, out reply, out sentence) != 0) throw new Exception(Take(sentence));
    }
    return Take(reply);
  }

  static int Give(Func<int> step) { try { return step(); } catch (Exception) { return 1; } }

  static int Main(string[] arguments) {
    var functions = new MemoryFunctions {
      RecordSize = (UIntPtr)Marshal.SizeOf(typeof(MemoryFunctions)),
      SetDocument = (context, text) => Give(() => { document = Read(text); return 0; }),
      GetDocument = (context, sink) => Give(() => { using (var text = new Borrowed(document)) return Zea.zeac_sink_text(sink, text.Text); }),
      AddEntry = (context, role, text) => Give(() => { turns.Add(new KeyValuePair<int, string>(role, Read(text))); return 0; }),
      GetEntries = (context, limit, sink) => Give(() => {
        foreach (var turn in turns) using (var text = new Borrowed(turn.Value)) Zea.zeac_sink_entry(sink, turn.Key, text.Text);
        return 0;
      }),
    };
    IntPtr memory, cancel, assistant, sentence;
    if (Zea.zeac_memory_create(ref functions, out memory) != 0 || Zea.zeac_cancel_create(out cancel) != 0) return 1;
    using (var key = new Borrowed("none")) using (var host = new Borrowed(arguments[0])) {
      var options = new AssistantOptions {
        RecordSize = (UIntPtr)Marshal.SizeOf(typeof(AssistantOptions)), Key = key.Text, Host = host.Text, Memory = memory, Cancel = cancel };
      if (Zea.zeac_assistant_create(ref options, out assistant, out sentence) != 0) throw new Exception(Take(sentence));
    }
    Set(assistant, "model", "standin-large");
    Set(assistant, "db_structure", "[{\"schemas\":[{\"tables\":[{\"name\":\"orders\",\"fields\":[{\"name\":\"id\",\"type\":\"INTEGER\"}]}]}]}]");
    Console.WriteLine(Ask(assistant, arguments[1]));
    Console.WriteLine(Ask(assistant, "And the oldest ones?"));
    bool isEnded = false;
    var other = new Thread(() => { while (!isEnded) Zea.zeac_cancel_now(cancel); });
    other.Start();
    try {
      for (;;) Ask(assistant, "Again?");
    } catch (Exception failure) {
      Console.WriteLine(failure.Message + " " + turns.Count % 2);
    }
    isEnded = true;
    other.Join();
    Zea.zeac_assistant_free(assistant);
    Zea.zeac_memory_free(memory);
    Zea.zeac_cancel_free(cancel);
    GC.KeepAlive(functions);
    return turns.Count >= 4 ? 0 : 1;
  }
}
