#pragma once
// A form field whose content is text, written as UTF-8 without a Content-Type header (text/plain by default).
#include <string>

#include "companion/web/QMRMimeComponent.h"

class QMRTextualMimeComponent : public QMRMimeComponent {
public:
    QMRTextualMimeComponent() = delete;
    QMRTextualMimeComponent(std::string contentDisposition, std::string text);

    const std::string& text() const { return _text; }
    QMRDataView content() const override;

private:
    std::string _text;
};
