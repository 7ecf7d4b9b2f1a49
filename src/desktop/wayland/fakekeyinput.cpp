#include "desktop/wayland/fakekeyinput.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <cstring>
#include <fake-input-client-protocol.h>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

// keyboard_key appeared in this version.
constexpr uint32_t keyVersion = 4;

// KWin's active layout. Its service exists only while there are several layouts; 0 when it does
// not answer.
uint32_t activeLayout() {
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.kde.keyboard"), QStringLiteral("/Layouts"),
        QStringLiteral("org.kde.KeyboardLayouts"), QStringLiteral("getLayout"));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1)
        return 0;
    return reply.arguments().constFirst().toUInt();
}

// Events of a keyboard without focus that are of no use here.
template <typename... Args> void ignore(void *, wl_keyboard *, Args...) {}

} // namespace

FakeKeyInput::~FakeKeyInput() = default;

void FakeKeyInput::onKeymap(void *data, wl_keyboard *, uint32_t format, int32_t fd, uint32_t size) {
    auto *self = static_cast<FakeKeyInput *>(data);
    if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 && size > 0) {
        void *mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (mapped != MAP_FAILED) {
            // The text ends in a NUL, counted in size.
            const auto *text = static_cast<const char *>(mapped);
            if (auto compiled = KeymapCodes::compile(std::string_view(text, strnlen(text, size))))
                self->keymap_ = std::move(compiled);
            munmap(mapped, size);
        }
    }
    close(fd);
}

const char *FakeKeyInput::interfaceName() const {
    return org_kde_kwin_fake_input_interface.name;
}

void FakeKeyInput::bind(wl_registry *registry, uint32_t name, uint32_t version) {
    input_ = static_cast<org_kde_kwin_fake_input *>(
        wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, std::min(version, keyVersion)));
}

QString FakeKeyInput::start(wl_seat *seat) {
    if (!input_)
        return QStringLiteral("缺少 org_kde_kwin_fake_input");
    if (wl_proxy_get_version(reinterpret_cast<wl_proxy *>(input_)) < keyVersion)
        return QStringLiteral("org_kde_kwin_fake_input 版本过旧，不能发送按键");
    org_kde_kwin_fake_input_authenticate(input_, "Quillora", "把常用回复粘贴到聊天窗口");
    // The keymap comes to every keyboard, focused or not.
    if (seat) {
        static constexpr wl_keyboard_listener listener{
            onKeymap,
            ignore<uint32_t, wl_surface *, wl_array *>,
            ignore<uint32_t, wl_surface *>,
            ignore<uint32_t, uint32_t, uint32_t, uint32_t>,
            ignore<uint32_t, uint32_t, uint32_t, uint32_t, uint32_t>,
            ignore<int32_t, int32_t>};
        keyboard_ = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(keyboard_, &listener, this);
    }
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

uint32_t FakeKeyInput::codeFor(uint32_t sym, uint32_t fallback, uint32_t layout) const {
    const uint32_t found = keymap_ ? keymap_->code(sym, layout) : 0;
    return found ? found : fallback;
}

void FakeKeyInput::type(DesktopBackend::Stroke stroke) {
    if (!ready_)
        return;
    uint32_t layout = 0;
    if (keymap_ && keymap_->layouts() > 1) {
        layout = activeLayout();
        if (layout >= keymap_->layouts())
            layout = 0;
    }
    using Key = DesktopBackend::Key;
    const uint32_t sym = stroke.key == Key::V       ? XKB_KEY_v
                         : stroke.key == Key::Enter ? XKB_KEY_KP_Enter
                         : stroke.key == Key::Left  ? XKB_KEY_Left
                                                    : XKB_KEY_Insert;
    const uint32_t key = codeFor(sym, code(stroke.key), layout);
    std::vector<uint32_t> held;
    if (stroke.control)
        held.push_back(codeFor(XKB_KEY_Control_L, controlCode, layout));
    if (stroke.shift)
        held.push_back(codeFor(XKB_KEY_Shift_L, shiftCode, layout));
    for (uint32_t k : held)
        org_kde_kwin_fake_input_keyboard_key(input_, k, WL_KEYBOARD_KEY_STATE_PRESSED);
    org_kde_kwin_fake_input_keyboard_key(input_, key, WL_KEYBOARD_KEY_STATE_PRESSED);
    org_kde_kwin_fake_input_keyboard_key(input_, key, WL_KEYBOARD_KEY_STATE_RELEASED);
    for (auto k = held.rbegin(); k != held.rend(); ++k)
        org_kde_kwin_fake_input_keyboard_key(input_, *k, WL_KEYBOARD_KEY_STATE_RELEASED);
}

void FakeKeyInput::stop() {
    if (keyboard_)
        wl_keyboard_destroy(keyboard_);
    keyboard_ = nullptr;
    keymap_.reset();
    if (input_)
        org_kde_kwin_fake_input_destroy(input_);
    input_ = nullptr;
    ready_ = false;
}
