#include "companion/web/QMRTextualMimeComponent.h"

#include <cstdint>
#include <utility>

QMRTextualMimeComponent::QMRTextualMimeComponent(std::string contentDisposition, std::string text)
    : QMRMimeComponent(std::move(contentDisposition), std::string()), _text(std::move(text)) {}

QMRDataView QMRTextualMimeComponent::content() const {
    return {reinterpret_cast<const std::uint8_t*>(_text.data()), _text.size()};
}
