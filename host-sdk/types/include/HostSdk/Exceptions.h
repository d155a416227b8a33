#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Veyra::Orbis::Sdk::Exceptions {

// Root of the host's exceptions. It deliberately does not derive from std::exception, which distinguishes a host failure from a
// native one (see ItemHandler). Thrown by value and caught by reference; copies share the inner exception.
class HostException {
public:
    explicit HostException(std::string message, std::shared_ptr<const HostException> inner = nullptr)
        : m_Message(std::move(message)), m_Inner(std::move(inner))
    {}
    HostException(const HostException&) = default;
    HostException& operator=(const HostException&) = default;
    virtual ~HostException() = default;

    // Valid UTF-8, without the type's name.
    [[nodiscard]] const std::string& Message() const noexcept { return m_Message; }
    // The failure that caused this one, or null.
    [[nodiscard]] const std::shared_ptr<const HostException>& InnerException() const noexcept { return m_Inner; }
    // The host's full type name, for example "Veyra.Orbis.Sdk.Exceptions.ZelException".
    [[nodiscard]] virtual std::string_view TypeName() const noexcept { return "System.Exception"; }
    // A copy that keeps the dynamic type, to serve as an inner exception.
    [[nodiscard]] virtual std::shared_ptr<const HostException> Clone() const { return std::make_shared<HostException>(*this); }
    // Throws a copy that keeps the dynamic type.
    [[noreturn]] virtual void Raise() const { throw *this; }

    // Full text: "Type: message", then " ---> " and the inner exception's full text, as the host prints one.
    [[nodiscard]] std::string ToString() const
    {
        std::string text{TypeName()};
        if (!m_Message.empty()) {
            text += ": " + m_Message;
        }
        if (m_Inner != nullptr) {
            text += " ---> " + m_Inner->ToString();
        }
        return text;
    }

private:
    std::string m_Message;
    std::shared_ptr<const HostException> m_Inner;
};

namespace Detail {

// Gives a host exception its type name and its Clone.
template <class Derived, class Base = HostException>
class HostExceptionOf : public Base {
public:
    using Base::Base;
    [[nodiscard]] std::string_view TypeName() const noexcept override { return Derived::kTypeName; }
    [[nodiscard]] std::shared_ptr<const HostException> Clone() const override
    {
        return std::make_shared<Derived>(static_cast<const Derived&>(*this));
    }
    [[noreturn]] void Raise() const override { throw static_cast<const Derived&>(*this); }
};

}  // namespace Detail

// The one exception that leaves a collection when it failed.
class ZelException final : public Detail::HostExceptionOf<ZelException> {
public:
    static constexpr std::string_view kTypeName = "Veyra.Orbis.Sdk.Exceptions.ZelException";
    explicit ZelException(std::string message, std::shared_ptr<const HostException> inner = nullptr)
        : HostExceptionOf(std::move(message), std::move(inner))
    {}
    // Takes the inner exception's message as its own.
    explicit ZelException(const std::shared_ptr<const HostException>& inner) : HostExceptionOf(inner->Message(), inner) {}
};

class NotSupportedException final : public Detail::HostExceptionOf<NotSupportedException> {
public:
    static constexpr std::string_view kTypeName = "System.NotSupportedException";
    using HostExceptionOf::HostExceptionOf;
};

class OperationCanceledException final : public Detail::HostExceptionOf<OperationCanceledException> {
public:
    static constexpr std::string_view kTypeName = "System.OperationCanceledException";
    OperationCanceledException() : HostExceptionOf("The operation was canceled.") {}
    using HostExceptionOf::HostExceptionOf;
};

// An operation on an object that is not there: a collection whose retriever could not be constructed.
class NullReferenceException final : public Detail::HostExceptionOf<NullReferenceException> {
public:
    static constexpr std::string_view kTypeName = "System.NullReferenceException";
    NullReferenceException() : HostExceptionOf("Object reference not set to an instance of an object.") {}
    using HostExceptionOf::HostExceptionOf;
};

class ArgumentException : public Detail::HostExceptionOf<ArgumentException> {
public:
    static constexpr std::string_view kTypeName = "System.ArgumentException";
    using HostExceptionOf::HostExceptionOf;
};

class ArgumentOutOfRangeException final : public Detail::HostExceptionOf<ArgumentOutOfRangeException, ArgumentException> {
public:
    static constexpr std::string_view kTypeName = "System.ArgumentOutOfRangeException";
    using HostExceptionOf::HostExceptionOf;
};

}  // namespace Veyra::Orbis::Sdk::Exceptions
