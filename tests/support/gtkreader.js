// A GTK 3 window for tests, run by gjs on the desktop's Wayland display: it logs its keyboard
// focus, what it reads from the clipboard at Ctrl+V (text, or a picture's size) and Enter.
// Arguments: the log file, the application id, the window title.
imports.gi.versions.Gdk = '3.0';
imports.gi.versions.Gtk = '3.0';
const { Gdk, Gio, GLib, Gtk } = imports.gi;

const [logPath, appId, title] = ARGV;
GLib.set_prgname(appId);
Gtk.init(null);

function log(line) {
    const stream = Gio.File.new_for_path(logPath).append_to(Gio.FileCreateFlags.NONE, null);
    stream.write_all(new TextEncoder().encode(`${line}\n`), null);
    stream.close(null);
}

const clipboard = Gtk.Clipboard.get(Gdk.Atom.intern('CLIPBOARD', false));

function paste() {
    if (clipboard.wait_is_image_available()) {
        clipboard.request_image((c, pixbuf) =>
            log(pixbuf ? `paste image=${pixbuf.get_width()}x${pixbuf.get_height()}` : 'paste nothing'));
    } else {
        clipboard.request_text((c, text) => log(text === null ? 'paste nothing' : `paste text=${text}`));
    }
}

const window = new Gtk.Window({ title });
window.set_default_size(400, 200);
window.add(new Gtk.TextView());
window.connect('destroy', () => Gtk.main_quit());
window.connect('focus-in-event', () => {
    log('focus in');
    return false;
});
window.connect('focus-out-event', () => {
    log('focus out');
    return false;
});
window.connect('key-press-event', (w, event) => {
    const [, keyval] = event.get_keyval();
    const [, state] = event.get_state();
    if ((state & Gdk.ModifierType.CONTROL_MASK) && (keyval === Gdk.KEY_v || keyval === Gdk.KEY_V)) {
        paste();
        return true;
    }
    if (keyval === Gdk.KEY_KP_Enter || keyval === Gdk.KEY_Return) {
        log(keyval === Gdk.KEY_KP_Enter ? 'enter keypad' : 'enter return');
        return true;
    }
    return false;
});
window.show_all();
log('ready');
Gtk.main();
