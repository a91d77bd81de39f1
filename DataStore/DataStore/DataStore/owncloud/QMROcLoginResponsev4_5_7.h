#pragma once
// What a login yields (both releases): the request token every later data-changing call sends.
#include <string>
#include <utility>

class QMROcLoginResponsev4_5_7 {
public:
    const std::string& requestToken() const noexcept { return _requestToken; }
    void setRequestToken(std::string requestToken) { _requestToken = std::move(requestToken); }

private:
    std::string _requestToken;
};
