// What a host in C# may know beyond the datatypes: findings, health, where values came from, and messages as JSON (orbis_insight.h).
using System;
using System.IO;
using System.Runtime.InteropServices;
using Orbis.Storage.Interop;

namespace Orbis.Storage
{
    // The library of insight. It observes what the plug-in asks of the operating system and sends no request of its own. Install it before
    // the first plug-in object is made, and end a pass after the collections; findings, health and explanations tell of that pass. All of
    // them are JSON. Any thread may use it; what goes wrong is an InvalidOperationException.
    public sealed class StorageInsight
    {
        private readonly InsightBorder.Table _table;

        // Loads the library from the folder of the plug-in.
        public StorageInsight(string pluginFile)
        {
            bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;
            string file = Path.Combine(Path.GetDirectoryName(Path.GetFullPath(pluginFile)), windows ? "orbis-insight.dll" : "liborbis-insight.so");
            IntPtr table = NativeLibraries.Function<InsightBorder.TableFunction>(file, "OrbisInsightTable")();
            uint version = (uint)Marshal.ReadInt32(table, sizeof(uint));
            if (version != InsightBorder.Version) throw new NotSupportedException(file + ": version " + version + " is not known");
            _table = Marshal.PtrToStructure<InsightBorder.Table>(table);
        }

        // `capacity` bounds what one pass may keep, in bytes; 0 is 64 MiB.
        public void Install(ulong capacity = 0) => Take(_table.Install((UIntPtr)capacity));
        public void EndPass() => Take(_table.EndPass());
        public string Findings() => Take(_table.Findings());
        public string Health() => Take(_table.Health());

        // A message as protobuf's canonical JSON. The datatype is its full name; needs no installation.
        public string MessageJson(string datatype, byte[] message)
        {
            using (var name = new NativeText(datatype))
            using (var bytes = new NativeText(message))
                return Take(_table.MessageJson(name.Pointer, bytes.Pointer));
        }

        // Where the values of an item came from that was collected in the pass.
        public string Explain(string datatype, CollectedItem item)
        {
            using (var name = new NativeText(datatype))
            using (var bytes = new NativeText(item.Message))
            using (var id = new NativeText(item.ItemId))
                return Take(_table.Explain(name.Pointer, bytes.Pointer, id.Pointer));
        }

        private string Take(IntPtr answer)
        {
            try
            {
                var result = Marshal.PtrToStructure<InsightBorder.Result>(answer);
                if (result.IsFailure != 0) throw new InvalidOperationException(result.Text.ToString());
                return result.Text.ToString();
            }
            finally
            {
                _table.Free(answer);
            }
        }
    }
}

namespace Orbis.Storage.Interop
{
    internal static class InsightBorder
    {
        public const uint Version = 1;

        [StructLayout(LayoutKind.Sequential)]
        public struct Result
        {
            public uint StructSize;
            public int IsFailure;
            public Border.Text Text;
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr InstallFunction(UIntPtr capacity);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr AnswerFunction();

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr ExplainFunction(IntPtr datatype, IntPtr message, IntPtr itemId);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr MessageJsonFunction(IntPtr datatype, IntPtr message);

        [StructLayout(LayoutKind.Sequential)]
        public struct Table
        {
            public uint StructSize, Version;
            public InstallFunction Install;
            public AnswerFunction EndPass, Findings, Health;
            public ExplainFunction Explain;
            public MessageJsonFunction MessageJson;
            public Border.FreeFunction Free;
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr TableFunction();
    }
}
