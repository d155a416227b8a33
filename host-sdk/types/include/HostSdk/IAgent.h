#pragma once

namespace Lumo::Interfaces {

// The plug-in framework's agent, handed to every plug-in. This system's plug-in does not use it.
class IAgent {
public:
    virtual ~IAgent() = default;
};

}  // namespace Lumo::Interfaces
