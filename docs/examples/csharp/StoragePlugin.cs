// The storage collector plug-in for hosts in C#.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using Orbis.Storage.Interop;

namespace Orbis.Storage
{
    public enum LogLevel { Error = 1, Warning = 2, Debug = 3, Trace = 4 }

    // One log line. The message is plain text, not a format.
    public sealed class LogLine
    {
        public LogLevel Level { get; internal set; }
        public string Message { get; internal set; }
        public string File { get; internal set; }
        public string Function { get; internal set; }
        public int Line { get; internal set; }
    }

    public sealed class Operation
    {
        public string Name { get; internal set; }
        public string Datatype { get; internal set; } // full name of the message
        public string Description { get; internal set; }
    }

    public sealed class CollectedItem
    {
        public string ItemId { get; internal set; }
        public DateTime CollectionTime { get; internal set; } // UTC
        public byte[] Message { get; internal set; }          // serialised; null when the item has none, which is not an empty message
    }

    // A failure of a plug-in; its cause is the inner exception.
    public sealed class CollectionException : Exception
    {
        internal CollectionException(int kind, string typeName, string message, Exception inner) : base(message, inner)
        {
            Kind = kind;
            TypeName = typeName;
        }

        public int Kind { get; }        // one of ORBIS_FAILURE_ of the border's header
        public string TypeName { get; } // the host's full type name, for example "Veyra.Orbis.Sdk.Exceptions.ZelException"

        // The type name of any exception of a collection, OperationCanceledException included.
        public static string TypeNameOf(Exception exception) =>
            (exception as CollectionException)?.TypeName ?? exception.GetType().FullName;
    }

    // A plug-in with one plug-in object. Its methods may be called on any thread.
    public sealed class StoragePlugin : IDisposable
    {
        private const int Canceled = 4; // ORBIS_FAILURE_CANCELED
        private static readonly DateTime Epoch = new DateTime(1970, 1, 1, 0, 0, 0, DateTimeKind.Utc);

        private readonly Border.Registration _table;
        private readonly Border.LogFunction _log; // the plug-in calls it until the object is destroyed
        private readonly PluginHandle _plugin;
        private readonly object[] _operationLocks; // the same operation of an object must not run twice at the same time

        // Loads a plug-in and creates an object that passes its log lines to `log` (null: no log). Exceptions of `log` are ignored.
        public StoragePlugin(string file, Action<LogLine> log = null)
        {
            IntPtr table = NativeLibraries.Function<Border.RegistrationFunction>(file, "OrbisPluginRegistration")();
            uint version = (uint)Marshal.ReadInt32(table, sizeof(uint));
            if (version != Border.Version) throw new NotSupportedException(file + ": version " + version + " of the border is not known");
            _table = Marshal.PtrToStructure<Border.Registration>(table);
            Operations = Border.Elements<Border.Operation>(_table.Operations, _table.OperationCount, _table.OperationSize)
                .Select(operation => new Operation {
                    Name = operation.Name.ToString(),
                    Datatype = operation.Datatype.ToString(),
                    Description = operation.Description.ToString() })
                .ToList();
            _operationLocks = Operations.Select(_ => new object()).ToArray();
            if (log != null) _log = (context, line) => Forward(log, line);

            var host = new Border.Host { StructSize = (uint)Marshal.SizeOf<Border.Host>(), Log = _log };
            IntPtr answer = _table.Create(ref host, out IntPtr plugin);
            _plugin = new PluginHandle(plugin, _table.Destroy);
            Take(answer, CancellationToken.None);
        }

        public string Id => _table.Id.ToString();
        public string Name => _table.Name.ToString();
        public string Description => _table.Description.ToString();
        public IReadOnlyList<Operation> Operations { get; }

        // Collects all items of a datatype (its full name or the last part of it), or the item with an id. Returns null if the plug-in returns
        // no list, which differs from an empty list. Throws CollectionException, and OperationCanceledException when the token was cancelled
        // before the collection began.
        public IReadOnlyList<CollectedItem> Collect(string datatype, string itemId = null, CancellationToken token = default(CancellationToken))
        {
            int index = IndexOf(datatype);
            Border.CancellationFunction isCancelled = context => token.IsCancellationRequested ? 1 : 0;
            var cancellation = new Border.Cancellation {
                StructSize = (uint)Marshal.SizeOf<Border.Cancellation>(),
                IsCancellationRequested = isCancelled };
            using (NativeText id = itemId == null ? null : new NativeText(itemId))
            {
                IntPtr answer;
                lock (_operationLocks[index])
                    answer = _table.Collect(_plugin, (UIntPtr)index, id?.Pointer ?? IntPtr.Zero, ref cancellation);
                GC.KeepAlive(isCancelled);
                return Take(answer, token);
            }
        }

        public void Dispose() => _plugin.Dispose();

        // Replaces this machine by the simulated machine of a file, for the whole process. Call it before the first plug-in object is created.
        public static void UseMachine(string simulatedLibrary, string machineFile)
        {
            var error = new byte[1024];
            byte[] path = Encoding.UTF8.GetBytes(machineFile + "\0");
            if (NativeLibraries.Function<UseMachineFileFunction>(simulatedLibrary, "OrbisSimulatedUseMachineFile")(
                    path, error, (UIntPtr)error.Length) != 0)
                throw new InvalidDataException(Encoding.UTF8.GetString(error, 0, Array.IndexOf(error, (byte)0)));
        }

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate int UseMachineFileFunction(byte[] path, [Out] byte[] error, UIntPtr errorSize);

        private int IndexOf(string datatype)
        {
            for (int index = 0; index < Operations.Count; ++index)
            {
                string name = Operations[index].Datatype;
                if (name == datatype || name.Substring(name.LastIndexOf('.') + 1) == datatype) return index;
            }
            throw new ArgumentException(Name + " does not collect " + datatype, nameof(datatype));
        }

        // The contents of a result; frees the result.
        private IReadOnlyList<CollectedItem> Take(IntPtr answer, CancellationToken token)
        {
            try
            {
                var result = Marshal.PtrToStructure<Border.Result>(answer);
                if (result.Failure != IntPtr.Zero) throw ToException(result.Failure, token);
                if (result.HasList == 0) return null;
                return Border.Elements<Border.Item>(result.Items, result.ItemCount, result.ItemSize)
                    .Select(item => new CollectedItem {
                        ItemId = item.ItemId.ToString(),
                        CollectionTime = Epoch.AddTicks(item.CollectionTime / 100),
                        Message = item.HasMessage != 0 ? item.Message.ToBytes() : null })
                    .ToList();
            }
            finally
            {
                _table.Free(answer);
            }
        }

        private static Exception ToException(IntPtr record, CancellationToken token)
        {
            var failure = Marshal.PtrToStructure<Border.Failure>(record);
            Exception inner = failure.Inner == IntPtr.Zero ? null : ToException(failure.Inner, token);
            return failure.Kind == Canceled
                ? (Exception)new OperationCanceledException(failure.Message.ToString(), inner, token)
                : new CollectionException(failure.Kind, failure.TypeName.ToString(), failure.Message.ToString(), inner);
        }

        private static void Forward(Action<LogLine> log, IntPtr pointer)
        {
            try
            {
                var line = Marshal.PtrToStructure<Border.LogLine>(pointer);
                log(new LogLine {
                    Level = (LogLevel)line.Level,
                    Message = line.Message.ToString(),
                    File = line.File.ToString(),
                    Function = line.Function.ToString(),
                    Line = line.Line });
            }
            catch (Exception)
            {
                // No exception may pass through the plug-in's C functions.
            }
        }
    }
}
