// An id text given back by the caller. Anything but a well-formed id raises "Invalid Resource
// Type"; a well-formed one written out again must read back as the same entry. Writing refuses
// text that no id text can carry (broken UTF-8, a control character), which only a forged id holds.
#include <cstddef>
#include <cstdint>

#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "companion/util/QMRExceptions.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const QMROcFileOrFolderId id(fuzz::textOf(data, size));
        const QMROcFileOrFolderId again(id.toString());
        fuzz::require(again.identifier() == id.identifier() && again.path() == id.path() &&
                          again.resourceType() == id.resourceType(),
                      "an id written out reads back the same");
    } catch (const QMRInvalidOperationException&) {
        // Not an id this back-end hands out.
    } catch (const QMRInvalidArgumentException&) {
        // Read, but holding what no id text can carry: not one this back-end hands out either.
    }
    return 0;
}
