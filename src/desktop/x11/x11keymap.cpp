#include "desktop/x11/x11keymap.h"

#include <algorithm>
#include <array>
#include <vector>

#include "desktop/x11/x11resources.h"
#include <X11/XKBlib.h>
#include <X11/Xlib-xcb.h>
#include <X11/Xutil.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace {

struct ContextUnref {
    void operator()(xkb_context *context) const { xkb_context_unref(context); }
};
struct KeymapUnref {
    void operator()(xkb_keymap *keymap) const { xkb_keymap_unref(keymap); }
};
struct StateUnref {
    void operator()(xkb_state *state) const { xkb_state_unref(state); }
};
using StatePtr = std::unique_ptr<xkb_state, StateUnref>;
struct DescFree {
    void operator()(XkbDescPtr desc) const { XkbFreeKeyboard(desc, 0, True); }
};
using DescPtr = std::unique_ptr<XkbDescRec, DescFree>;

} // namespace

struct X11Keymap::Impl {
    Display *display = nullptr;
    xcb_connection_t *connection = nullptr;
    int32_t device = -1;
    int eventBase = 0;
    bool stale = true;
    std::unique_ptr<xkb_context, ContextUnref> context;
    std::unique_ptr<xkb_keymap, KeymapUnref> keymap;
    xkb_layout_index_t group = 0;
    // The keys of each of the eight modifiers, as the server's modifier map lists them.
    std::array<std::vector<KeyCode>, 8> modifiers;
    // US, where a symbol missing from the layout in force lies on the keyboard.
    std::unique_ptr<xkb_keymap, KeymapUnref> us;
    bool usRead = false;
    // The key lent a symbol for a stroke, and the map before.
    KeyCode lent = 0;
    DescPtr before;

    void reload() {
        stale = false;
        keymap.reset(
            xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
        for (auto &keys : modifiers)
            keys.clear();
        if (const ModifierKeymapPtr map{XGetModifierMapping(display)}) {
            for (int m = 0; m < 8; ++m)
                for (int i = 0; i < map->max_keypermod; ++i)
                    if (const KeyCode code = map->modifiermap[m * map->max_keypermod + i])
                        modifiers[size_t(m)].push_back(code);
        }
    }

    // Groups past a key's own wrap as the key says (most keys outside the letters have one group).
    StatePtr stateIn(xkb_layout_index_t layout) const {
        StatePtr state(xkb_state_new(keymap.get()));
        if (state)
            xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, layout);
        return state;
    }

    KeyCode find(xkb_keysym_t sym, xkb_layout_index_t layout) const {
        const StatePtr state = stateIn(layout);
        if (!state)
            return 0;
        KeyCode best = 0;
        xkb_level_index_t bestLevel = XKB_LEVEL_INVALID;
        for (xkb_keycode_t key = xkb_keymap_min_keycode(keymap.get());
             key <= xkb_keymap_max_keycode(keymap.get()) && key <= 255; ++key) {
            const xkb_layout_index_t effective = xkb_state_key_get_layout(state.get(), key);
            if (effective == XKB_LAYOUT_INVALID)
                continue;
            const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap.get(), key, effective);
            for (xkb_level_index_t level = 0; level < levels && level < bestLevel; ++level) {
                const xkb_keysym_t *syms = nullptr;
                const int n = xkb_keymap_key_get_syms_by_level(keymap.get(), key, effective, level, &syms);
                for (int i = 0; i < n; ++i)
                    if (syms[i] == sym) {
                        best = KeyCode(key);
                        bestLevel = level;
                    }
            }
        }
        return best;
    }

    // The key that types sym on a US keyboard, found by its name (keyboards number keys differently).
    KeyCode usKey(xkb_keysym_t sym) {
        if (!usRead) {
            usRead = true;
            xkb_context *names = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
            const xkb_rule_names usNames{nullptr, nullptr, "us", nullptr, nullptr};
            if (names)
                us.reset(xkb_keymap_new_from_names(names, &usNames, XKB_KEYMAP_COMPILE_NO_FLAGS));
            xkb_context_unref(names);
        }
        if (!us)
            return 0;
        for (xkb_keycode_t key = xkb_keymap_min_keycode(us.get()); key <= xkb_keymap_max_keycode(us.get());
             ++key) {
            const xkb_keysym_t *syms = nullptr;
            if (xkb_keymap_key_get_syms_by_level(us.get(), key, 0, 0, &syms) == 1 && syms[0] == sym) {
                const xkb_keycode_t here =
                    xkb_keymap_key_by_name(keymap.get(), xkb_keymap_key_get_name(us.get(), key));
                return here != XKB_KEYCODE_INVALID && here <= 255 ? KeyCode(here) : 0;
            }
        }
        return 0;
    }

    // A code no key uses, from the top: the low ones are those keyboards send.
    KeyCode spareKey() const {
        for (xkb_keycode_t key = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap.get()), 255);
             key >= std::max<xkb_keycode_t>(xkb_keymap_min_keycode(keymap.get()), 8); --key)
            if (xkb_keymap_num_layouts_for_key(keymap.get(), key) == 0 && !isModifier(KeyCode(key)))
                return KeyCode(key);
        return 0;
    }

    // Gives the key a group of its own after its groups, with sym in it.
    bool lend(KeyCode key, KeySym sym) {
        constexpr unsigned parts = XkbKeyTypesMask | XkbKeySymsMask | XkbKeyActionsMask;
        DescPtr was{XkbGetMap(display, parts, XkbUseCoreKbd)},
            lending{XkbGetMap(display, parts, XkbUseCoreKbd)};
        if (!was || !lending)
            return false;
        XkbDescPtr desc = lending.get();
        const int groups = XkbKeyNumGroups(desc, key);
        if (groups >= XkbNumKbdGroups)
            return false;
        KeySym lower = 0, upper = 0;
        XConvertCase(sym, &lower, &upper);
        int types[XkbNumKbdGroups] = {};
        for (int g = 0; g < groups; ++g)
            types[g] = XkbKeyKeyTypeIndex(desc, key, g);
        types[groups] = lower == upper ? XkbOneLevelIndex : XkbAlphabeticIndex;
        XkbMapChangesRec changes{};
        if (XkbChangeTypesOfKey(desc, key, groups + 1, XkbGroup1Mask << groups, types, &changes) != Success)
            return false;
        KeySym *syms = XkbKeySymsPtr(desc, key) + groups * XkbKeyGroupsWidth(desc, key);
        syms[0] = lower;
        if (lower != upper)
            syms[1] = upper;
        changes.changed |= XkbKeySymsMask;
        changes.first_key_sym = key;
        changes.num_key_syms = 1;
        if (XkbKeyHasActions(desc, key)) {
            changes.changed |= XkbKeyActionsMask;
            changes.first_key_act = key;
            changes.num_key_acts = 1;
        }
        if (!XkbChangeMap(display, desc, &changes))
            return false;
        lent = key;
        before = std::move(was);
        return true;
    }

    bool isModifier(KeyCode code) const {
        for (const auto &keys : modifiers)
            for (KeyCode k : keys)
                if (k == code)
                    return true;
        return false;
    }
};

X11Keymap::X11Keymap(_XDisplay *display) : d(std::make_unique<Impl>()) {
    d->display = display;
    int opcode = 0, error = 0, major = XkbMajorVersion, minor = XkbMinorVersion;
    if (!XkbQueryExtension(display, &opcode, &d->eventBase, &error, &major, &minor))
        return;
    d->connection = XGetXCBConnection(display);
    if (!xkb_x11_setup_xkb_extension(d->connection, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                     XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                     nullptr, nullptr, nullptr, nullptr))
        return;
    d->context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (!d->context)
        return;
    d->device = xkb_x11_get_core_keyboard_device_id(d->connection);
    // A new keyboard (setxkbmap, another device) or a changed map; group changes are read with the
    // state at each stroke, where they matter.
    const unsigned long notices = XkbNewKeyboardNotifyMask | XkbMapNotifyMask;
    XkbSelectEvents(display, XkbUseCoreKbd, notices, notices);
}

X11Keymap::~X11Keymap() {
    if (d->lent) {
        restoreMissing();
        XSync(d->display, False);
    }
}

bool X11Keymap::valid() const {
    return d->device >= 0;
}

void X11Keymap::update() {
    if (!valid())
        return;
    XkbStateRec state{};
    if (XkbGetState(d->display, XkbUseCoreKbd, &state) == Success)
        d->group = state.group;
    // The reply came after every event the server sent before it, so these are all the notices
    // up to now. Core MappingNotify events reach every client whatever it selected.
    XEvent event;
    while (XCheckTypedEvent(d->display, d->eventBase, &event))
        d->stale = true;
    while (XCheckTypedEvent(d->display, MappingNotify, &event))
        d->stale = true;
    if (d->stale || !d->keymap)
        d->reload();
}

uint8_t X11Keymap::code(uint32_t sym) const {
    if (!d->keymap)
        return 0;
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts(d->keymap.get());
    if (const KeyCode found = d->find(sym, d->group))
        return found;
    for (xkb_layout_index_t layout = 0; layout < layouts; ++layout)
        if (layout != d->group)
            if (const KeyCode found = d->find(sym, layout))
                return found;
    return 0;
}

uint8_t X11Keymap::modifierKey(int index, uint32_t preferred) const {
    if (index < 0 || index >= 8 || d->modifiers[size_t(index)].empty())
        return 0;
    const std::vector<KeyCode> &keys = d->modifiers[size_t(index)];
    if (d->keymap) {
        const KeyCode typing = d->find(preferred, d->group);
        for (KeyCode k : keys)
            if (k == typing)
                return k;
    }
    return keys.front();
}

bool X11Keymap::modifierHeld() const {
    char down[32];
    XQueryKeymap(d->display, down);
    for (const auto &keys : d->modifiers)
        for (KeyCode code : keys)
            if (down[code / 8] & (1 << (code % 8)))
                return true;
    return false;
}

uint8_t X11Keymap::mapMissing(uint32_t sym) {
    restoreMissing();
    if (!d->keymap)
        return 0;
    if (const KeyCode key = d->usKey(sym); key != 0 && !d->isModifier(key) && d->lend(key, sym))
        return key;
    if (const KeyCode key = d->spareKey(); key != 0 && d->lend(key, sym))
        return key;
    return 0;
}

void X11Keymap::restoreMissing() {
    if (!d->lent)
        return;
    // The key's groups, types, symbols and actions as they were, from the map read before.
    XkbMapChangesRec changes{};
    changes.changed = XkbKeySymsMask | XkbKeyActionsMask;
    changes.first_key_sym = changes.first_key_act = d->lent;
    changes.num_key_syms = changes.num_key_acts = 1;
    XkbChangeMap(d->display, d->before.get(), &changes);
    d->lent = 0;
    d->before.reset();
    d->stale = true;
}
