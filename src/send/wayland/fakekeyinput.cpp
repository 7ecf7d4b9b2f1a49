#include "send/wayland/fakekeyinput.h"

#include <fake-input-client-protocol.h>
#include <vector>
#include <wayland-client.h>

namespace {

// keyboard_key appeared in this version.
constexpr uint32_t keyVersion = 4;

} // namespace

FakeKeyInput::~FakeKeyInput() = default;

const char *FakeKeyInput::interfaceName() const {
    return org_kde_kwin_fake_input_interface.name;
}

void FakeKeyInput::bind(wl_registry *registry, uint32_t name, uint32_t version) {
    input_ = static_cast<org_kde_kwin_fake_input *>(
        wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, std::min(version, keyVersion)));
}

QString FakeKeyInput::start(wl_seat *) {
    if (!input_)
        return QStringLiteral("缺少 org_kde_kwin_fake_input");
    if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(input_)) < keyVersion)
        return QStringLiteral("org_kde_kwin_fake_input 版本过旧，不能发送按键");
    org_kde_kwin_fake_input_authenticate(input_, "Quillora", "把常用回复粘贴到聊天窗口");
    ready_ = true;
    return {};
}

uint32_t FakeKeyInput::code(DesktopBackend::Key key) {
    switch (key) {
    case DesktopBackend::Key::V:
        return 47;
    case DesktopBackend::Key::Enter:
        return 96; // keypad Enter
    case DesktopBackend::Key::Left:
        return 105;
    case DesktopBackend::Key::Insert:
        return 110;
    }
    return 0;
}

void FakeKeyInput::type(DesktopBackend::Stroke stroke) {
    if (!ready_)
        return;
    std::vector<uint32_t> held;
    if (stroke.control)
        held.push_back(controlCode);
    if (stroke.shift)
        held.push_back(shiftCode);
    for (uint32_t k : held)
        org_kde_kwin_fake_input_keyboard_key(input_, k, WL_KEYBOARD_KEY_STATE_PRESSED);
    org_kde_kwin_fake_input_keyboard_key(input_, code(stroke.key), WL_KEYBOARD_KEY_STATE_PRESSED);
    org_kde_kwin_fake_input_keyboard_key(input_, code(stroke.key), WL_KEYBOARD_KEY_STATE_RELEASED);
    for (auto k = held.rbegin(); k != held.rend(); ++k)
        org_kde_kwin_fake_input_keyboard_key(input_, *k, WL_KEYBOARD_KEY_STATE_RELEASED);
}

void FakeKeyInput::stop() {
    if (input_)
        org_kde_kwin_fake_input_destroy(input_);
    input_ = nullptr;
    ready_ = false;
}
