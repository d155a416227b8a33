// A host in C++: does the same as host_in_c.c, with typed messages and the host's exceptions.
//
//     host_in_cpp PLUGIN [MACHINE_FILE]
//
// With a machine file, the plug-in sees the simulated machine of that file instead of this one. Only for that purpose this example
// is linked to the library of simulated machines.
//
// The plug-in is used on a separate thread, which may block when a device or a WMI provider hangs. This host just waits for it.
#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "HostBorder/PluginHost.h"
#include "orbis/datatypes/nvme_identify.pb.h"
#include "simulated/orbis_simulated.h"

#ifdef _WIN32  // after the messages' headers, which the macros of windows.h would break
#define NOMINMAX
#include <windows.h>

#include <objbase.h>

// A multi-threaded apartment for the life of the plug-in object. Also sets COM's security; otherwise the plug-in's first query
// would set it for the whole process. Other settings can be requested here.
struct Apartment {
    Apartment()
    {
        if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
            throw std::runtime_error("COM cannot be initialised");
        }
        CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                             EOAC_NONE, nullptr);
    }
    ~Apartment() { CoUninitialize(); }
};
#else
struct Apartment {};
#endif

namespace {

using orbis::border::PluginHost;
using orbis::border::PluginObject;
using Veyra::Orbis::Common::CancellationToken;
using Veyra::Orbis::Common::CollectionTime;
using Veyra::Orbis::Common::IZelLog;
using veyra::orbis::datatypes::NvmeIdentifyControllerData;
using Veyra::Orbis::Sdk::Common::Identifiers::ItemId;
using Veyra::Orbis::Sdk::Exceptions::HostException;

// Log lines go to standard error.
class Log final : public IZelLog {
public:
    IZelLog& Error(std::string_view message, std::int32_t, std::string_view, std::string_view) override
    {
        return Line("error", message);
    }
    IZelLog& Error(const HostException& exception, std::int32_t, std::string_view, std::string_view) override
    {
        return Line("error", exception.ToString());
    }
    IZelLog& Warning(std::string_view message, std::int32_t, std::string_view, std::string_view) override
    {
        return Line("warning", message);
    }
    IZelLog& Debug(std::string_view message, std::int32_t, std::string_view, std::string_view) override
    {
        return Line("debug", message);
    }
    IZelLog& Trace(std::string_view message, std::int32_t, std::string_view, std::string_view) override
    {
        return Line("trace", message);
    }

private:
    IZelLog& Line(const char* level, std::string_view message)
    {
        std::cerr << level << ": " << message << '\n';
        return *this;
    }
};

std::string ToText(CollectionTime time)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    char text[32] = "";
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds));
    return text;
}

void Print(const HostException& failure)
{
    std::cout << "  failed: " << failure.TypeName() << ": " << failure.Message() << '\n';
    for (const HostException* inner = failure.InnerException().get(); inner != nullptr; inner = inner->InnerException().get()) {
        std::cout << "    because of " << inner->TypeName() << ": " << inner->Message() << '\n';
    }
}

// Collects and prints; returns the id of the first item, or the id for all items when there is none.
ItemId Collect(PluginObject& plugin, const char* title, const ItemId& wanted, const CancellationToken* cancellation = nullptr)
{
    std::cout << title << '\n';
    try {
        const auto items = plugin.Collect<NvmeIdentifyControllerData>(wanted, cancellation);
        if (!items) {
            std::cout << "  no list\n";
            return ItemId::All();
        }
        std::cout << "  items: " << items->size() << '\n';
        for (const auto& item : *items) {
            std::cout << "  " << item.ItemId().ToString() << ", collected " << ToText(item.Time())
                      << (item.Value() ? ", with a message\n" : ", without a message\n");
            if (item.Value()) {
                std::cout << "    " << item.Value()->model_number() << ", serial number " << item.Value()->serial_number()
                          << ", firmware " << item.Value()->firmware_revision() << '\n';
            }
        }
        return items->empty() ? ItemId::All() : items->front().ItemId();
    } catch (const HostException& failure) {
        Print(failure);
        return ItemId::All();
    }
}

int Run(const char* pluginFile)
{
    [[maybe_unused]] const Apartment apartment{};
    const PluginHost host = PluginHost::Load(pluginFile);
    std::cout << host.Name() << ' ' << host.Id() << '\n';
    for (const auto& operation : host.Operations()) {
        std::cout << "  " << operation.name << ": " << operation.datatype << '\n';
    }
    PluginObject plugin = host.Create(std::make_shared<Log>());
    const ItemId first = Collect(plugin, "All disks:", ItemId::All());
    if (!first.IsAll()) {
        Collect(plugin, "The first of them:", first);
    }
    const CancellationToken cancelled([] { return true; });
    Collect(plugin, "Cancelled:", ItemId::All(), &cancelled);
    Collect(plugin, "A disk that is not there:", ItemId("Disk_that is not there"));
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: " << argv[0] << " PLUGIN [MACHINE_FILE]\n";
        return 2;
    }
    char error[512] = "";
    if (argc == 3 && OrbisSimulatedUseMachineFile(argv[2], error, sizeof error) != 0) {
        std::cerr << error << '\n';
        return 2;
    }
    try {
        return std::async(std::launch::async, Run, argv[1]).get();
    } catch (const HostException& failure) {
        Print(failure);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
    }
    return 3;
}
