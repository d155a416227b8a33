#include <fmt/format.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <thread>

#include "AccessWatch.h"
#include "Commands.h"
#include "HostBorder/PluginHost.h"
#include "InventoryWatch.h"
#include "PluginFile.h"
#include "Table.h"
#include "Terminal.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "simulated/Machine.h"
#include "simulated/MachineFile.h"
#include "views/LiveView.h"

namespace orbis::host {
namespace {

using border::HostException;
using border::ItemId;
using border::Operation;
using border::PluginHost;
using border::PluginObject;

std::atomic<bool> g_Interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void OnInterrupt(int signal)
{
    g_Interrupted = true;
    // A second one ends the program the hard way.
    std::signal(signal, SIG_DFL);
}

// The datatype with a live view, which needs two samples.
constexpr std::string_view kActivity = "PhysicalDiskDynamicInfo";

// The machine to collect from, in force for as long as this lives.
class MachineInForce {
public:
    // Throws simulated::MachineFileError.
    explicit MachineInForce(const std::filesystem::path& file)
    {
        if (!file.empty()) {
            const std::u8string name = file.u8string();
            m_Simulated = simulated::LoadMachineFile(std::string(name.begin(), name.end()));
            platform::Platform::Replace(m_Simulated.get());
        }
        m_Access = std::make_unique<AccessWatch>(platform::Platform::Current());
        m_Inventory = std::make_unique<InventoryWatch>(*m_Access);
        platform::Platform::Replace(m_Inventory.get());
    }
    MachineInForce(const MachineInForce&) = delete;
    MachineInForce& operator=(const MachineInForce&) = delete;
    ~MachineInForce() { platform::Platform::Replace(nullptr); }

    [[nodiscard]] AccessWatch& Access() { return *m_Access; }
    [[nodiscard]] InventoryWatch& Inventory() { return *m_Inventory; }

    // Waits between two passes; on a simulated machine its own time passes as well. Ends early when interrupted.
    void Wait(double seconds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        constexpr auto kSlice = std::chrono::milliseconds(50);
        while (!g_Interrupted && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
                kSlice, std::chrono::duration_cast<std::chrono::steady_clock::duration>(end - std::chrono::steady_clock::now())));
        }
        Advance(seconds);
    }

    // Lets time pass for counters that are rates; on a simulated machine its own time alone.
    void LetRatesBuildUp(double seconds)
    {
        if (m_Simulated == nullptr) {
            Wait(seconds);
        } else {
            Advance(seconds);
        }
    }

private:
    void Advance(double seconds)
    {
        if (m_Simulated != nullptr) {
            m_Simulated->AdvanceClock(std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds)));
        }
    }

    std::unique_ptr<simulated::Machine> m_Simulated;
    std::unique_ptr<AccessWatch> m_Access;
    std::unique_ptr<InventoryWatch> m_Inventory;
};

// The operations that were asked for, in the order of the plug-in; throws std::invalid_argument for a name that it does not have.
std::vector<Operation> Choose(const PluginHost& plugin, const std::vector<std::string>& names)
{
    const bool isAll = names.empty() || std::find(names.begin(), names.end(), "all") != names.end();
    for (const std::string& name : names) {
        const bool isKnown = name == "all" || std::any_of(plugin.Operations().begin(), plugin.Operations().end(),
                                                          [&](const Operation& one) { return ShortName(one.datatype) == name; });
        if (!isKnown) {
            std::string known = "all";
            for (const Operation& one : plugin.Operations()) {
                known += "\n  " + ShortName(one.datatype);
            }
            throw std::invalid_argument(fmt::format("no such datatype: {}. One of these, or several:\n  {}", name, known));
        }
    }
    std::vector<Operation> chosen;
    std::copy_if(plugin.Operations().begin(), plugin.Operations().end(), std::back_inserter(chosen), [&](const Operation& one) {
        return isAll || std::find(names.begin(), names.end(), ShortName(one.datatype)) != names.end();
    });
    return chosen;
}

// Collects every operation once. Failures are told on standard error and counted.
std::vector<Pass> CollectOnce(PluginObject& object, const std::vector<Operation>& operations, const ItemId& itemId, int& failures)
{
    std::vector<Pass> passes;
    for (const Operation& operation : operations) {
        Pass pass;
        pass.datatype = ShortName(operation.datatype);
        try {
            auto items = object.Collect(operation.index, itemId);
            for (border::SerializedItem& item : items ? *items : std::vector<border::SerializedItem>{}) {
                auto message = item.message ? NewMessage(operation.datatype) : nullptr;
                if (item.message && (message == nullptr || !message->ParseFromString(*item.message))) {
                    throw std::runtime_error("this program cannot decode " + operation.datatype +
                                             "; it and the plug-in are of different versions");
                }
                pass.items.push_back({item.itemId.ToString(), item.collectionTime, std::move(message)});
            }
            passes.push_back(std::move(pass));
        } catch (const HostException& exception) {
            ++failures;
            std::fprintf(stderr, "orbis-host: collecting %s failed: %s\n", pass.datatype.c_str(),
                         Printable(exception.ToString()).c_str());
        } catch (const std::runtime_error& exception) {
            ++failures;
            std::fprintf(stderr, "orbis-host: %s\n", Printable(exception.what()).c_str());
        }
    }
    return passes;
}

void Write(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

// One pass of a watch as tables: the activity as a live view with its history, everything else as it is.
std::string RenderLive(const std::vector<Pass>& passes, LiveView& live, std::size_t width)
{
    std::string out;
    for (const Pass& pass : passes) {
        if (pass.datatype != kActivity) {
            continue;
        }
        ViewItems<datatypes::PhysicalDiskDynamicInfo> items;
        for (const Collected& item : pass.items) {
            items.push_back({item.itemId, static_cast<const datatypes::PhysicalDiskDynamicInfo*>(item.message.get())});
        }
        live.Add(items);
        out += live.Render(width);
    }
    return out;
}

// What a user would miss without being told why.
void TellWhatIsMissing(MachineInForce& machine)
{
    for (const std::string& finding : machine.Inventory().TakeFindings()) {
        std::fprintf(stderr, "orbis-host: %s\n", Printable(finding).c_str());
    }
    const auto denied = machine.Access().TakeDenied();
    if (denied.empty()) {
        return;
    }
    std::string paths;
    for (const std::u16string& path : denied) {
        paths += (paths.empty() ? "" : ", ") + Printable(platform::Utf16ToUtf8(path));
    }
    std::fprintf(stderr, "orbis-host: no access to %s; to see everything, %s\n", paths.c_str(), MoreRightsAdvice());
}

}  // namespace

int Collect(const CollectOptions& options)
{
    try {
        // In force before the plug-in is loaded, and for longer than its object lives.
        MachineInForce machine(options.machine);
        const PluginHost plugin = PluginHost::Load(PluginFile(options.plugin));
        const std::vector<Operation> operations = Choose(plugin, options.datatypes);
        PluginObject object = plugin.Create(MakeConsoleLog(plugin.LogId(), options.logLevel));

        PrepareOutput(options.format == Format::Binary);
        const bool isTerminal = OutputIsTerminal();
        const bool isWatch = options.watchSeconds > 0;
        const bool isLive =
            isWatch && options.format == Format::Table && operations.size() == 1 && ShortName(operations[0].datatype) == kActivity;
        const ItemId itemId = options.item.empty() ? ItemId::All() : ItemId(options.item);
        if (isWatch) {
            std::signal(SIGINT, OnInterrupt);
            std::signal(SIGTERM, OnInterrupt);
        }
        if (isLive && isTerminal) {
            Write("\x1B[?25l\x1B[H\x1B[2J");  // no cursor, clear screen
        }

        if (std::any_of(operations.begin(), operations.end(),
                        [](const Operation& one) { return ShortName(one.datatype) == kActivity; })) {
            // The plug-in took its first sample when it was created; rates need time between two.
            constexpr double kFirstInterval = 1.0;
            machine.LetRatesBuildUp(kFirstInterval);
        }

        int failures = 0;
        LiveView live;
        for (std::uint32_t pass = 1; !g_Interrupted; ++pass) {
            const std::vector<Pass> passes = CollectOnce(object, operations, itemId, failures);
            const std::size_t width = isTerminal ? GetTerminalSize().columns : 0;
            if (isWatch && options.format == Format::Table) {
                const std::string time = Rfc3339(platform::Time::Current().UtcNow()).substr(0, 19) + "Z\n";
                std::string text = time + (isLive ? RenderLive(passes, live, width) : Render(passes, options.format, width));
                if (isLive && isTerminal) {
                    // Redrawn in place: each line clears what was behind it, and what is below goes.
                    std::string redrawn = "\x1B[H";
                    for (const char letter : text) {
                        redrawn += letter == '\n' ? std::string("\x1B[K\n") : std::string(1, letter);
                    }
                    text = redrawn + "\x1B[J";
                }
                Write(text);
            } else {
                Write(Render(passes, options.format, width));
            }
            TellWhatIsMissing(machine);
            if (!isWatch || pass == options.count) {
                break;
            }
            machine.Wait(options.watchSeconds);
        }
        if (isLive && isTerminal) {
            Write("\x1B[?25h");
        }
        return failures == 0 ? kExitOk : kExitCollectionFailed;
    } catch (const simulated::MachineFileError& error) {
        std::fprintf(stderr, "%s\n", Printable(error.what()).c_str());
        return kExitUsage;
    } catch (const border::PluginLoadError& error) {
        return ReportLoadError(error);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "orbis-host: %s\n", error.what());
        return kExitUsage;
    } catch (const HostException& exception) {
        std::fprintf(stderr, "orbis-host: the plug-in could not be created: %s\n", Printable(exception.ToString()).c_str());
        return kExitNoPlugin;
    }
}

}  // namespace orbis::host
