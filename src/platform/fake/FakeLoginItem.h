#pragma once

#include "platform/LoginItem.h"

namespace valimbra {

class FakeLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool on) override {
        if (refuse)
            return false;
        enabled = on;
        return true;
    }

    bool enabled = false;
    bool refuse = false; // the system says no
};

} // namespace valimbra
