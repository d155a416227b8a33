// What a host in C# can learn beyond the datatypes: findings, health, where values came from, and messages as JSON (orbis_insight.h).
using System;
using System.IO;
using System.Runtime.InteropServices;
using Orbis.Storage.Interop;

namespace Orbis.Storage
{
    // The library orbis-insight. It observes the plug-in's requests to the operating system; only SkipSleepingDisks sends requests of its
    // own. Install it before the first plug-in object is made, and end each pass after its collections. Findings, health and explanations
    // are about the last pass that ended; all answers are JSON. Every method may be called on any thread. A failure is an
    // InvalidOperationException; NotSupportedException: the library is older than the function.
    public sealed class StorageInsight
    {
        private readonly InsightBorder.Table _table;
        private readonly IntPtr _later; // the functions that were added after release 0.1
        private readonly int _laterCount;

        // Loads the library from the folder of the plug-in.
        public StorageInsight(string pluginFile)
        {
            bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;
            string file = Path.Combine(Path.GetDirectoryName(Path.GetFullPath(pluginFile)), windows ? "orbis-insight.dll" : "liborbis-insight.so");
            IntPtr table = NativeLibraries.Function<InsightBorder.TableFunction>(file, "OrbisInsightTable")();
            uint version = (uint)Marshal.ReadInt32(table, sizeof(uint));
            if (version != InsightBorder.Version) throw new NotSupportedException(file + ": version " + version + " is not known");
            _table = Marshal.PtrToStructure<InsightBorder.Table>(table);
            int size = Marshal.SizeOf<InsightBorder.Table>();
            _later = IntPtr.Add(table, size);
            _laterCount = ((int)_table.StructSize - size) / IntPtr.Size;
        }

        // `capacity` limits what is kept of one pass, in bytes; 0 is 64 MiB.
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

        // Where the values of an item of the last pass came from.
        public string Explain(string datatype, CollectedItem item)
        {
            using (var name = new NativeText(datatype))
            using (var bytes = new NativeText(item.Message))
            using (var id = new NativeText(item.ItemId))
                return Take(_table.Explain(name.Pointer, bytes.Pointer, id.Pointer));
        }

        // Leaves the disk with this drive number out of every collection from now on, or includes it again. It gets no requests.
        public void HideDisk(uint number, bool hidden = true) =>
            Take(Later<InsightBorder.HideDiskFunction>(0, "hideDisk")(number, hidden ? 1 : 0));

        // What the collections wait for at this moment, and how long. To be called on another thread than theirs.
        public string Waits() => Take(Later<InsightBorder.AnswerFunction>(1, "waits")());

        // Leaves out the disks that are asleep until the next call, without waking them. To be called before each pass.
        public string SkipSleepingDisks() => Take(Later<InsightBorder.AnswerFunction>(2, "skipSleepingDisks")());

        private T Later<T>(int index, string name)
        {
            if (index >= _laterCount) throw new NotSupportedException("the installed orbis-insight has no " + name);
            return Marshal.GetDelegateForFunctionPointer<T>(Marshal.ReadIntPtr(_later, index * IntPtr.Size));
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

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr HideDiskFunction(uint number, int isHidden);

        // As release 0.1 has it.
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
