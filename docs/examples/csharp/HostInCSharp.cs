// A host in C#: does the same as host_in_c.c, with StoragePlugin.
//
//     HostInCSharp PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]
//
// With a simulated machine, the plug-in sees that machine instead of this one. Messages are read as JSON, into which orbis-insight converts
// them.
//
// The plug-in is used on a separate thread, which may block when a device or a WMI provider hangs. This host just waits for it.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
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
        // Sets COM's security; otherwise the plug-in's first query would set it for the whole process. Other settings can be requested here.
        const uint defaultAuthentication = 0, impersonate = 3;
        if (Environment.OSVersion.Platform == PlatformID.Win32NT)
            CoInitializeSecurity(IntPtr.Zero, -1, IntPtr.Zero, IntPtr.Zero, defaultAuthentication, impersonate, IntPtr.Zero, 0, IntPtr.Zero);

        var insight = new StorageInsight(file);
        insight.Install();
        insight.SkipSleepingDisks(); // before each pass, so that the pass wakes no disk
        using (var plugin = new StoragePlugin(file, line => Console.Error.WriteLine(line.Level + ": " + line.Message)))
        {
            Console.WriteLine(plugin.Name + " " + plugin.Id);
            foreach (Operation operation in plugin.Operations) Console.WriteLine("  " + operation.Name + ": " + operation.Datatype);

            var items = Collect(plugin, insight, "All disks:");
            if (items.Count > 0) Collect(plugin, insight, "The first of them:", items[0].ItemId);
            using (var source = new CancellationTokenSource())
            {
                source.Cancel();
                Collect(plugin, insight, "Cancelled:", null, source.Token);
            }
            Collect(plugin, insight, "A disk that is not there:", "Disk_that is not there");
        }
    }

    [DllImport("ole32.dll")]
    private static extern int CoInitializeSecurity(IntPtr descriptor, int services, IntPtr service, IntPtr reserved, uint authentication,
                                                   uint impersonation, IntPtr list, uint capabilities, IntPtr reserved2);

    private static IReadOnlyList<CollectedItem> Collect(StoragePlugin plugin, StorageInsight insight, string title, string itemId = null,
                                                        CancellationToken token = default(CancellationToken))
    {
        Console.WriteLine(title);
        IReadOnlyList<CollectedItem> items = null;
        try
        {
            items = plugin.Collect("NvmeIdentifyControllerData", itemId, token);
            if (items == null) Console.WriteLine("  no list");
            else Print(insight, items);
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

    private static void Print(StorageInsight insight, IReadOnlyList<CollectedItem> items)
    {
        Console.WriteLine("  items: " + items.Count);
        foreach (CollectedItem item in items)
        {
            Console.WriteLine("  " + item.ItemId + ", collected " + item.CollectionTime.ToString("yyyy-MM-ddTHH:mm:ssZ") +
                              (item.Message != null ? ", with a message" : ", without a message"));
            if (item.Message != null)
            {
                string json = insight.MessageJson("veyra.orbis.datatypes.NvmeIdentifyControllerData", item.Message);
                Console.WriteLine("    " + Text(json, "modelNumber") + ", serial number " + Text(json, "serialNumber") + ", firmware " +
                                  Text(json, "firmwareRevision"));
            }
        }
    }

    // A text of a message in JSON, or an empty one. A host that reads more uses a JSON library, or the classes that protoc makes of the
    // schema (protoc --csharp_out) with the package Google.Protobuf.
    private static string Text(string json, string field)
    {
        Match match = Regex.Match(json, "\"" + field + "\":\\s*\"((?:[^\"\\\\]|\\\\.)*)\"");
        return Regex.Unescape(match.Groups[1].Value);
    }
}
