// The C border of collector plug-ins (HostBorder/orbis_border.h) for the runtime's marshaller: structures, functions and constants. Hosts use
// StoragePlugin instead. The source is the same for .NET, .NET Framework and Mono.
using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;
using System.Text;

namespace Orbis.Storage.Interop
{
    internal static class Border
    {
        public const uint Version = 1;

        [StructLayout(LayoutKind.Sequential)]
        public struct Text
        {
            public IntPtr Data;
            public UIntPtr Length;

            public byte[] ToBytes()
            {
                var bytes = new byte[checked((int)Length)];
                if (bytes.Length != 0) Marshal.Copy(Data, bytes, 0, bytes.Length);
                return bytes;
            }

            public override string ToString() => Encoding.UTF8.GetString(ToBytes());
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct LogLine
        {
            public uint StructSize;
            public int Level;
            public Text LogId, Message, File, Function;
            public int Line;
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate void LogFunction(IntPtr context, IntPtr line);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate int CancellationFunction(IntPtr context);

        [StructLayout(LayoutKind.Sequential)]
        public struct Host
        {
            public uint StructSize;
            public LogFunction Log;
            public IntPtr LogContext;
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct Cancellation
        {
            public uint StructSize;
            public CancellationFunction IsCancellationRequested;
            public IntPtr Context;
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct Failure
        {
            public uint StructSize;
            public int Kind;
            public Text TypeName, Message;
            public IntPtr Inner;
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct Item
        {
            public int HasMessage;
            public Text ItemId;
            public long CollectionTime;
            public Text Message;
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct Result
        {
            public uint StructSize;
            public int HasList;
            public IntPtr Failure, Items;
            public UIntPtr ItemCount, ItemSize;
        }

        [StructLayout(LayoutKind.Sequential)]
        public struct Operation
        {
            public Text Name, Datatype, Description;
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr CreateFunction(ref Host host, out IntPtr plugin);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr CollectFunction(PluginHandle plugin, UIntPtr operation, IntPtr itemId, ref Cancellation cancellation);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate void FreeFunction(IntPtr result);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate void DestroyFunction(IntPtr plugin);

        [StructLayout(LayoutKind.Sequential)]
        public struct Registration
        {
            public uint StructSize, Version;
            public Text Id, Name, Description, LogId;
            public IntPtr Operations;
            public UIntPtr OperationCount, OperationSize;
            public CreateFunction Create;
            public CollectFunction Collect;
            public FreeFunction Free;
            public DestroyFunction Destroy;
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        public delegate IntPtr RegistrationFunction();

        // The elements of an array. The elements of a newer plug-in may be longer than the structure here.
        public static IEnumerable<T> Elements<T>(IntPtr array, UIntPtr count, UIntPtr size)
        {
            for (ulong index = 0; index < (ulong)count; ++index)
                yield return Marshal.PtrToStructure<T>(new IntPtr(array.ToInt64() + checked((long)(index * (ulong)size))));
        }
    }

    // A plug-in object. It is not destroyed while a collection uses it.
    internal sealed class PluginHandle : SafeHandle
    {
        private readonly Border.DestroyFunction _destroy;

        public PluginHandle(IntPtr plugin, Border.DestroyFunction destroy) : base(IntPtr.Zero, true)
        {
            _destroy = destroy;
            SetHandle(plugin);
        }

        public override bool IsInvalid => handle == IntPtr.Zero;

        protected override bool ReleaseHandle()
        {
            _destroy(handle);
            return true;
        }
    }

    // A text, or the bytes of a message, for the length of a call.
    internal sealed class NativeText : IDisposable
    {
        private readonly IntPtr _memory;

        public NativeText(string text) : this(new UTF8Encoding(false, true).GetBytes(text)) { }

        public NativeText(byte[] bytes)
        {
            int header = Marshal.SizeOf<Border.Text>();
            _memory = Marshal.AllocHGlobal(header + bytes.Length);
            var value = new Border.Text { Data = new IntPtr(_memory.ToInt64() + header), Length = (UIntPtr)bytes.Length };
            Marshal.StructureToPtr(value, _memory, false);
            Marshal.Copy(bytes, 0, value.Data, bytes.Length);
        }

        public IntPtr Pointer => _memory;

        public void Dispose() => Marshal.FreeHGlobal(_memory);
    }

    // Libraries, which are never unloaded.
    internal static class NativeLibraries
    {
        private const int Now = 2; // RTLD_NOW
        // A library's dependencies are searched for beside it (LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR) and in the system's folder
        // (LOAD_LIBRARY_SEARCH_SYSTEM32), never in the current folder or PATH.
        private const uint OwnFolderAndSystem = 0x100 | 0x800;

        [DllImport("libdl.so.2", EntryPoint = "dlopen")]
        private static extern IntPtr OpenOnLinux([MarshalAs(UnmanagedType.LPStr)] string file, int flags);

        [DllImport("libdl.so.2", EntryPoint = "dlsym")]
        private static extern IntPtr FindOnLinux(IntPtr library, [MarshalAs(UnmanagedType.LPStr)] string name);

        [DllImport("kernel32", EntryPoint = "LoadLibraryExW", CharSet = CharSet.Unicode, ExactSpelling = true)]
        private static extern IntPtr OpenOnWindows(string file, IntPtr reserved, uint flags);

        [DllImport("kernel32", EntryPoint = "GetProcAddress", CharSet = CharSet.Ansi, ExactSpelling = true)]
        private static extern IntPtr FindOnWindows(IntPtr library, string name);

        // A function of a library. Throws DllNotFoundException or EntryPointNotFoundException.
        public static T Function<T>(string file, string name) where T : class
        {
            bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;
            string path = Path.GetFullPath(file);
            IntPtr library = windows ? OpenOnWindows(path, IntPtr.Zero, OwnFolderAndSystem) : OpenOnLinux(path, Now);
            if (library == IntPtr.Zero) throw new DllNotFoundException(path + " cannot be loaded: it, or a library that it needs, is missing");
            IntPtr function = windows ? FindOnWindows(library, name) : FindOnLinux(library, name);
            if (function == IntPtr.Zero) throw new EntryPointNotFoundException(path + " has no function " + name);
            return Marshal.GetDelegateForFunctionPointer<T>(function);
        }
    }
}
