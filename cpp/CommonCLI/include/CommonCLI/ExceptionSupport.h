#pragma once

#include <exception>
#include <functional>
#include <string>
#include <string_view>

#include "CommonCLI/NativeException.h"
#include "HostSdk/CancellationToken.h"
#include "HostSdk/Exceptions.h"
#include "HostSdk/IZelLog.h"
#include "HostSdk/ItemId.h"

namespace Veyra::Orbis::Cpp::Common {

// How a not-supported failure is treated.
enum class NotSupportedExceptionBehaviour {
    ReThrow = 1,             // rethrown unchanged and unlogged
    WrapInZelException = 2,  // logged at Trace level and wrapped in ZelException
};

// Runs one request for one item, or for all.
template <class R>
using ItemHandlerDelegate = std::function<R(const Sdk::Common::Identifiers::ItemId&)>;

// Translates all failures for the host.
template <class R>
class ItemHandler {
public:
    // The delegate's result. `ct` may be null; a cancellation is thrown untranslated and unlogged, before the delegate is run.
    // Every exception of the delegate is logged once and thrown as ZelException, except a not-supported failure under ReThrow.
    static R ExecuteHandlingException(const ItemHandlerDelegate<R>& itemHandlerDelegate,
                                      const Sdk::Common::Identifiers::ItemId& itemId,
                                      NotSupportedExceptionBehaviour notSupportedExceptionBehaviour, Orbis::Common::IZelLog& log,
                                      const Orbis::Common::CancellationToken* ct)
    {
        // The host's name of this function, the same for every instance of the template.
        constexpr std::string_view kFunction =
            "Veyra::Orbis::Cpp::Common::ItemHandler<`generic-class-parameter-1'>::ExecuteHandlingException";
        constexpr std::string_view kFile = R"(cpp\CommonCLI\include\CommonCLI\ExceptionSupport)";
        using namespace Sdk::Exceptions;

        if (ct != nullptr) {
            ct->ThrowIfCancellationRequested();
        }
        try {
            return itemHandlerDelegate(itemId);
        } catch (const std::exception& exception) {
            const std::string description = DescriptionOf(exception);
            log.Error("Native exception : " + description, __LINE__, kFile, kFunction);
            throw ZelException(description);
        } catch (const ZelException& exception) {
            log.Error("ZEL Exception : " + exception.Message(), __LINE__, kFile, kFunction);
            throw;
        } catch (const NotSupportedException& exception) {
            if (notSupportedExceptionBehaviour == NotSupportedExceptionBehaviour::ReThrow) {
                throw;
            }
            // Intentional: the only rule that does not log an error, because a disk without a feature is not faulty.
            log.Trace("Not Supported Exception : " + exception.Message(), __LINE__, kFile, kFunction);
            throw ZelException(exception.Clone());
        } catch (const HostException& exception) {
            log.Error("Exception : " + exception.Message(), __LINE__, kFile, kFunction);
            throw ZelException(exception.Clone());
        } catch (...) {
            log.Error("Unknown exception", __LINE__, kFile, kFunction);
            throw ZelException("Unknown exception");
        }
    }
};

}  // namespace Veyra::Orbis::Cpp::Common
