// A host in C#: what host_in_c.c does, over StoragePlugin.
//
//     HostInCSharp PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]
//
// With a simulated machine, the plug-in sees that machine instead of this one. Of a message this host reads three texts on its own; one
// that reads more uses the classes that protoc makes of the schema (protoc --csharp_out), with the package Google.Protobuf.
//
// The plug-in is used on a thread of its own, which a device or a WMI provider that hangs may hold. This host only waits for it.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using Orbis.Storage;

internal static class HostInCSharp
{
    private static int Main(string[] arguments)
    {
        if (arguments.Length != 1 && arguments.Length != 3)
        {
            Console.Error.WriteLine("usage: HostInCSharp PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]");
            return 2;
        }
        if (arguments.Length == 3) StoragePlugin.UseMachine(arguments[1], arguments[2]);

        var thread = new Thread(() => UsePlugin(arguments[0]));
        thread.SetApartmentState(ApartmentState.MTA);
        thread.Start();
        thread.Join();
        return 0;
    }

    private static void UsePlugin(string file)
    {
        // COM's security, before the plug-in's first query sets it for the whole process; a host that needs another one asks for it here.
        const uint defaultAuthentication = 0, impersonate = 3;
        if (Environment.OSVersion.Platform == PlatformID.Win32NT)
            CoInitializeSecurity(IntPtr.Zero, -1, IntPtr.Zero, IntPtr.Zero, defaultAuthentication, impersonate, IntPtr.Zero, 0, IntPtr.Zero);

        using (var plugin = new StoragePlugin(file, line => Console.Error.WriteLine(line.Level + ": " + line.Message)))
        {
            Console.WriteLine(plugin.Name + " " + plugin.Id);
            foreach (Operation operation in plugin.Operations) Console.WriteLine("  " + operation.Name + ": " + operation.Datatype);

            var items = Collect(plugin, "All disks:");
            if (items.Count > 0) Collect(plugin, "The first of them:", items[0].ItemId);
            using (var source = new CancellationTokenSource())
            {
                source.Cancel();
                Collect(plugin, "Cancelled:", null, source.Token);
            }
            Collect(plugin, "A disk that is not there:", "Disk_that is not there");
        }
    }

    [DllImport("ole32.dll")]
    private static extern int CoInitializeSecurity(IntPtr descriptor, int services, IntPtr service, IntPtr reserved, uint authentication,
                                                   uint impersonation, IntPtr list, uint capabilities, IntPtr reserved2);

    private static IReadOnlyList<CollectedItem> Collect(StoragePlugin plugin, string title, string itemId = null,
                                                        CancellationToken token = default(CancellationToken))
    {
        Console.WriteLine(title);
        IReadOnlyList<CollectedItem> items = null;
        try
        {
            items = plugin.Collect("NvmeIdentifyControllerData", itemId, token);
            if (items == null) Console.WriteLine("  no list");
            else Print(items);
        }
        catch (Exception failure) when (failure is CollectionException || failure is OperationCanceledException)
        {
            string prefix = "  failed: ";
            for (Exception cause = failure; cause != null; cause = cause.InnerException)
            {
                Console.WriteLine(prefix + CollectionException.TypeNameOf(cause) + ": " + cause.Message);
                prefix = "    because of ";
            }
        }
        return items ?? new List<CollectedItem>();
    }

    private static void Print(IReadOnlyList<CollectedItem> items)
    {
        Console.WriteLine("  items: " + items.Count);
        foreach (CollectedItem item in items)
        {
            Console.WriteLine("  " + item.ItemId + ", collected " + item.CollectionTime.ToString("yyyy-MM-ddTHH:mm:ssZ") +
                              (item.Message != null ? ", with a message" : ", without a message"));
            if (item.Message != null)
                Console.WriteLine("    " + TextField(item.Message, 4) + ", serial number " + TextField(item.Message, 3) + ", firmware " +
                                  TextField(item.Message, 5));
        }
    }

    // The text of a message's field, or an empty one: as much of the protocol-buffer encoding as it takes.
    // NvmeIdentifyControllerData: serial_number = 3, model_number = 4, firmware_revision = 5.
    private static string TextField(byte[] message, ulong field)
    {
        int at = 0;
        while (at < message.Length)
        {
            ulong key = Number(message, ref at);
            ulong length = 0;
            switch (key & 7)
            {
                case 0: Number(message, ref at); break;
                case 1: length = 8; break;
                case 2: length = Number(message, ref at); break;
                case 5: length = 4; break;
                default: return "";
            }
            if (length > (ulong)(message.Length - at)) return "";
            if (key == (field << 3 | 2)) return Encoding.UTF8.GetString(message, at, (int)length);
            at += (int)length;
        }
        return "";
    }

    private static ulong Number(byte[] message, ref int at)
    {
        ulong number = 0;
        for (int shift = 0; shift < 64 && at < message.Length; shift += 7)
        {
            byte part = message[at++];
            number |= (ulong)(part & 0x7F) << shift;
            if (part < 0x80) break;
        }
        return number;
    }
}
