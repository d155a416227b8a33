#pragma once

#include <utility>

namespace orbis::platform {

// Owns a value that an operation of a port returned, and releases it with GiveBack of the same port. Nothing is the value that a
// failed operation returns; a null value is not an open object either.
template <class PortType, class Value, auto GiveBack, Value Nothing>
class Owned {
public:
    Owned() noexcept = default;
    Owned(PortType& port, Value value) noexcept : m_Port(&port), m_Value(value) {}
    Owned(Owned&& other) noexcept : m_Port(std::exchange(other.m_Port, nullptr)), m_Value(std::exchange(other.m_Value, Nothing)) {}
    Owned& operator=(Owned&& other) noexcept
    {
        std::swap(m_Port, other.m_Port);
        std::swap(m_Value, other.m_Value);
        return *this;
    }
    ~Owned() { Reset(); }

    [[nodiscard]] bool IsValid() const noexcept { return m_Value != Nothing && m_Value != Value{}; }
    explicit operator bool() const noexcept { return IsValid(); }
    [[nodiscard]] Value Get() const noexcept { return m_Value; }
    [[nodiscard]] PortType* Port() const noexcept { return m_Port; }

    void Reset() noexcept
    {
        if (m_Port != nullptr && IsValid()) {
            (m_Port->*GiveBack)(m_Value);
        }
        m_Port = nullptr;
        m_Value = Nothing;
    }

private:
    PortType* m_Port = nullptr;
    Value m_Value = Nothing;
};

}  // namespace orbis::platform
