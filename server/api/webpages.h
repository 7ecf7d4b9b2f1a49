#pragma once

#include <string>

// The service's root page: "#/mobile_register" and "#/mobile_reset" are its two views.
class WebPages {
public:
    static const std::string &index();
};
