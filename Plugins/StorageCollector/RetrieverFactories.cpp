#include "RetrieverFactories.h"

namespace Veyra::Orbis::Plugins {

RetrieverFactories RetrieverFactories::Own()
{
    RetrieverFactories own;
    return own;
}

}  // namespace Veyra::Orbis::Plugins
