#include "companion/web/QMRBinaryMimeComponent.h"

#include <utility>

QMRBinaryMimeComponent::QMRBinaryMimeComponent(std::string contentDisposition, std::string contentType, QMRData data)
    : QMRMimeComponent(std::move(contentDisposition), std::move(contentType)), _data(std::move(data)) {}
