#pragma once

#include <memory>

#include "sondix/sondix.h"

namespace orbis::tests {

struct Deleter {
    void operator()(void* object) const { SXDelete(object); }
};

// Takes over an object of the library.
template <class T>
std::unique_ptr<T, Deleter> Owned(T* object)
{
    return std::unique_ptr<T, Deleter>(object);
}

}  // namespace orbis::tests
