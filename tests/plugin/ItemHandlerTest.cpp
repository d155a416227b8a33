// The five rules by which a failure is translated for the host.
#include <filesystem>
#include <functional>
#include <ios>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Common/ResultException.h"
#include "CommonCLI/ExceptionSupport.h"
#include "CommonCLI/NativeException.h"
#include "MachineInForce.h"
#include "RecordingLog.h"

namespace Veyra::Orbis::Cpp::Common {
namespace {

using namespace Sdk::Exceptions;
using Orbis::Common::CancellationToken;
using orbis::fakes::LogLine;
using orbis::fakes::RecordingLog;
using Sdk::Common::Identifiers::ItemId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using enum NotSupportedExceptionBehaviour;

LogLine Line(const char* level, const char* message)
{
    return {level, message, R"(cpp\CommonCLI\include\CommonCLI\ExceptionSupport)",
            "Veyra::Orbis::Cpp::Common::ItemHandler<`generic-class-parameter-1'>::ExecuteHandlingException"};
}

class ItemHandlerTest : public ::testing::Test {
protected:
    int Execute(const ItemHandlerDelegate<int>& delegate, NotSupportedExceptionBehaviour behaviour = WrapInZelException,
                const CancellationToken* token = nullptr)
    {
        return ItemHandler<int>::ExecuteHandlingException(delegate, m_Id, behaviour, m_Log, token);
    }

    // The full text of the ZelException that is thrown.
    std::string ZelFrom(const ItemHandlerDelegate<int>& delegate)
    {
        try {
            Execute(delegate);
        } catch (const ZelException& exception) {
            return exception.ToString();
        }
        return "nothing was thrown";
    }

    orbis::fakes::MachineInForce m_Machine{""};  // for its code page
    ItemId m_Id{"Disk_1"};
    RecordingLog m_Log;
};

template <class Exception>
ItemHandlerDelegate<int> Throwing(Exception exception)
{
    return [exception](const ItemId&) -> int { throw exception; };
}

// A host exception that is a native one too: the first rule that matches is the first in order.
class Both final : public ArgumentException, public std::runtime_error {
public:
    Both() : ArgumentException("host side"), std::runtime_error("native side") {}
};

TEST_F(ItemHandlerTest, HandsTheIdToTheDelegateAndItsResultBack)
{
    EXPECT_EQ(Execute([](const ItemId& id) { return static_cast<int>(id.ToString().size()); }), 6);
    EXPECT_THAT(m_Log.lines, IsEmpty());
}

TEST_F(ItemHandlerTest, TranslatesByTheFirstRuleThatMatches)
{
    struct Case {
        ItemHandlerDelegate<int> delegate;
        const char* leaves;  // behind the type's name
        LogLine line;
    };
    for (const auto& [delegate, leaves, line] : std::vector<Case>{
             {Throwing(std::runtime_error("no such drive")), "no such drive", Line("Error", "Native exception : no such drive")},
             {Throwing(std::runtime_error("drive \xFF{0}")), "drive \uFFFD{0}",
              Line("Error", "Native exception : drive \uFFFD{0}")},
             {Throwing(Both()), "native side", Line("Error", "Native exception : native side")},
             {Throwing(NotSupportedException("no SMART")), "no SMART ---> System.NotSupportedException: no SMART",
              Line("Trace", "Not Supported Exception : no SMART")},
             {Throwing(ArgumentOutOfRangeException("no id")), "no id ---> System.ArgumentOutOfRangeException: no id",
              Line("Error", "Exception : no id")},
             // Cancelled while collecting: too late to be the host's cancellation of the request.
             {Throwing(OperationCanceledException("stopped")), "stopped ---> System.OperationCanceledException: stopped",
              Line("Error", "Exception : stopped")},
             {Throwing(42), "Unknown exception", Line("Error", "Unknown exception")},
         }) {
        m_Log.lines.clear();
        EXPECT_EQ(ZelFrom(delegate), std::string("Veyra.Orbis.Sdk.Exceptions.ZelException: ") + leaves);
        EXPECT_THAT(m_Log.lines, ElementsAre(line));
    }
}

TEST_F(ItemHandlerTest, ZelExceptionsLeaveAsTheVeryObject)
{
    const ZelException* thrown = nullptr;
    const auto delegate = [&thrown](const ItemId&) -> int {
        try {
            throw ZelException("outer", std::make_shared<ArgumentException>("inner"));
        } catch (const ZelException& exception) {
            thrown = &exception;
            throw;
        }
    };
    try {
        Execute(delegate);
        FAIL() << "nothing was thrown";
    } catch (const ZelException& exception) {
        EXPECT_EQ(&exception, thrown);
    }
    EXPECT_THAT(m_Log.lines, ElementsAre(Line("Error", "ZEL Exception : outer")));
}

TEST_F(ItemHandlerTest, NotSupportedLeavesUnloggedWhenAskedTo)
{
    EXPECT_THROW(Execute(Throwing(NotSupportedException("no SMART")), ReThrow), NotSupportedException);
    EXPECT_THAT(m_Log.lines, IsEmpty());
}

TEST_F(ItemHandlerTest, CancellationComesFirst)
{
    bool ran = false;
    const auto delegate = [&ran](const ItemId&) {
        ran = true;
        return 1;
    };
    const CancellationToken cancelled([] { return true; });
    EXPECT_THROW(Execute(delegate, WrapInZelException, &cancelled), OperationCanceledException);
    EXPECT_FALSE(ran);
    EXPECT_THAT(m_Log.lines, IsEmpty());

    const CancellationToken going([] { return false; });
    EXPECT_EQ(Execute(delegate, WrapInZelException, &going), 1);
}

TEST(NativeException, TypesAreSpelledTheSameByEveryCompiler)
{
    EXPECT_EQ(TypeNameOf(ResultException(0, "", 0)), "Veyra.Orbis.Cpp.Common.ResultException");
    EXPECT_EQ(TypeNameOf(std::bad_alloc()), "std::bad_alloc");
    EXPECT_EQ(TypeNameOf(std::filesystem::filesystem_error("", {})), "std::filesystem::filesystem_error");
    EXPECT_EQ(TypeNameOf(std::ios_base::failure("")), "std::ios_base::failure");
    EXPECT_EQ(TypeNameOf(Both()), "Veyra.Orbis.Cpp.Common.Both");
}

}  // namespace
}  // namespace Veyra::Orbis::Cpp::Common
