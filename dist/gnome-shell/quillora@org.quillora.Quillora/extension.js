'use strict';

// Lets Quillora see the windows of other programs on GNOME's Wayland session, where no protocol
// offers them: the window in front and its changes, the list of windows, and bringing one
// forward. Exported on the shell's own connection to the session bus.

const { Gio, GLib, Meta, Shell } = imports.gi;
const Main = imports.ui.main;

const OBJECT_PATH = '/org/quillora/Quillora/Windows';

// A window: (id, app id, pid, title, focused, X11 window or 0).
const BUS_INTERFACE = `
<node>
  <interface name="org.quillora.Quillora.Windows">
    <method name="ListWindows">
      <arg type="a(tsisbu)" direction="out" name="windows"/>
    </method>
    <method name="FocusedWindow">
      <arg type="(tsisbu)" direction="out" name="window"/>
      <arg type="u" direction="out" name="modifiers"/>
    </method>
    <method name="Activate">
      <arg type="t" direction="in" name="id"/>
      <arg type="b" direction="out" name="found"/>
    </method>
    <signal name="FocusChanged">
      <arg type="(tsisbu)" name="window"/>
    </signal>
  </interface>
</node>`;

const NO_WINDOW = [0, '', -1, '', false, 0];

function isListed(window) {
    if (window.is_override_redirect())
        return false;
    const type = window.get_window_type();
    return type !== Meta.WindowType.DESKTOP && type !== Meta.WindowType.DOCK;
}

// The application's desktop entry name where the shell knows it, else the window's class (on
// Wayland the app id the program declared).
function appIdOf(window) {
    const app = Shell.WindowTracker.get_default().get_window_app(window);
    const id = app ? app.get_id() : null;
    if (id && id.endsWith('.desktop'))
        return id.slice(0, -'.desktop'.length);
    return window.get_wm_class() || '';
}

// XWayland windows are described by their X11 window in hexadecimal.
function x11WindowOf(window) {
    if (window.get_client_type() !== Meta.WindowClientType.X11)
        return 0;
    const match = /^0x([0-9a-f]+)/i.exec(window.get_description() || '');
    return match ? parseInt(match[1], 16) : 0;
}

function describe(window) {
    if (!window)
        return NO_WINDOW;
    const pid = window.get_pid();
    return [window.get_id(), appIdOf(window), pid > 0 ? pid : -1, window.get_title() || '',
        window.has_focus(), x11WindowOf(window)];
}

function listedWindows() {
    return global.get_window_actors().map(actor => actor.meta_window).filter(isListed);
}

class WindowsService {
    constructor() {
        this._object = Gio.DBusExportedObject.wrapJSObject(BUS_INTERFACE, this);
        this._focusSignal = 0;
        this._followed = null;
        this._titleSignal = 0;
    }

    start() {
        this._object.export(Gio.DBus.session, OBJECT_PATH);
        this._focusSignal = global.display.connect('notify::focus-window', () => this._focusMoved());
        this._follow(global.display.focus_window);
    }

    stop() {
        this._follow(null);
        if (this._focusSignal)
            global.display.disconnect(this._focusSignal);
        this._focusSignal = 0;
        this._object.unexport();
    }

    ListWindows() {
        return listedWindows().map(describe);
    }

    FocusedWindow() {
        const [, , modifiers] = global.get_pointer();
        return [describe(global.display.focus_window), modifiers];
    }

    Activate(id) {
        const window = listedWindows().find(w => w.get_id() === id);
        if (!window)
            return false;
        // A time stamp of now, so that the request is not taken for a late one and refused by the
        // shell's protection against windows stealing the focus.
        Main.activateWindow(window, global.display.get_current_time_roundtrip());
        return true;
    }

    // The focused window's title changes too, as a chat program's does with each conversation.
    _follow(window) {
        if (this._followed && this._titleSignal)
            this._followed.disconnect(this._titleSignal);
        this._followed = window;
        this._titleSignal = window ? window.connect('notify::title', () => this._tell()) : 0;
    }

    _focusMoved() {
        this._follow(global.display.focus_window);
        this._tell();
    }

    _tell() {
        this._object.emit_signal('FocusChanged',
            new GLib.Variant('((tsisbu))', [describe(global.display.focus_window)]));
    }
}

class Extension {
    constructor() {
        this._service = null;
    }

    enable() {
        this._service = new WindowsService();
        this._service.start();
    }

    disable() {
        this._service.stop();
        this._service = null;
    }
}

function init() {
    return new Extension();
}
