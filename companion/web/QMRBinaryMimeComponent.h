#pragma once
// A form part carrying bytes, typically a file with "application/octet-stream".
#include <string>

#include "companion/web/QMRMimeComponent.h"

class QMRBinaryMimeComponent : public QMRMimeComponent {
public:
    QMRBinaryMimeComponent() = delete;
    // An empty content type writes no Content-Type header. Empty data writes the headers only, so that the
    // content can be streamed behind them before the writer's next delimiter or close.
    QMRBinaryMimeComponent(std::string contentDisposition, std::string contentType, QMRData data = {});

    const QMRData& data() const { return _data; }
    QMRDataView content() const override { return _data; }

private:
    QMRData _data;
};
