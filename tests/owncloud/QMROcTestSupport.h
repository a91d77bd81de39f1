#pragma once
// Helpers shared by the ownCloud unit tests.
#include <string>

#include "companion/util/QMRExceptions.h"

namespace oc_test {

// The reason of the Exception that call raises, or "<nothing raised>".
template <class Exception, class Call>
std::string reasonRaisedBy(Call call) {
    try {
        call();
    } catch (const Exception& raised) {
        return raised.reason();
    }
    return "<nothing raised>";
}

}  // namespace oc_test
