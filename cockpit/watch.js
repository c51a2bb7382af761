// Tells when something on the host may have become another one: the settings files, the history, the
// device description, the mounts, the agent's service. Nothing is asked for while nothing changes: the
// host sends what its kernel and its service manager notice.

const PAUSE = 200; // milliseconds; one change comes as many notices

// Each function is called behind the last of some notices of its kind that come together: onService()
// when a service, whichever, is in another state, onChange() for everything else.
export class Watch {
    constructor({ onChange, onService }) {
        this.notice = once(onChange);
        this.folders = new Map(); // by path: the open channel, and the names that count there
        watchUnits(this.notice, once(onService));
    }

    // Watches these files instead of others; a path that ends with "/" stands for all that is in the
    // folder. A file that takes the place of another one is noticed, too.
    watchFiles(paths) {
        const wanted = new Map();
        for (const path of paths) {
            const folder = path.slice(0, path.lastIndexOf("/")) || "/";
            wanted.set(folder, (wanted.get(folder) || new Set()).add(path));
        }
        for (const [folder, { channel }] of this.folders) {
            if (wanted.has(folder))
                continue;
            channel.close();
            this.folders.delete(folder);
        }
        for (const [folder, files] of wanted) {
            if (this.folders.has(folder))
                this.folders.get(folder).files = files;
            else
                this.folders.set(folder, { files, channel: this.open(folder) });
        }
    }

    open(folder) {
        const channel = globalThis.cockpit.channel({ payload: "fswatch1", path: folder, superuser: "try" });
        channel.addEventListener("ready", () => this.notice()); // what changed before it watched
        channel.addEventListener("message", (event, data) => {
            const { path, other } = JSON.parse(data);
            const { files } = this.folders.get(folder) || { files: new Set() };
            if (files.has(path) || files.has(other) || files.has(`${folder}/`))
                this.notice();
        });
        return channel;
    }

    // Watches no file any more, such as before others may be seen.
    forgetFiles() {
        this.watchFiles([]);
    }
}

// What calls the function once, behind the last of some calls that come together.
function once(call) {
    let timer = 0;
    return () => {
        clearTimeout(timer);
        timer = setTimeout(call, PAUSE);
    };
}

// ---- Mounts and services, as systemd tells them ----

const MANAGER = "org.freedesktop.systemd1";
const UNITS = "/org/freedesktop/systemd1/unit/";

// A unit's path has its name with what is no letter or digit as _hh.
function watchUnits(onMount, onService) {
    const client = globalThis.cockpit.dbus(MANAGER);
    client.subscribe({ interface: "org.freedesktop.systemd1.Manager", member: "UnitNew" },
                     (path, type, signal, [unit]) => unit.endsWith(".mount") && onMount());
    client.subscribe({ interface: "org.freedesktop.systemd1.Manager", member: "UnitRemoved" },
                     (path, type, signal, [unit]) => unit.endsWith(".mount") && onMount());
    client.subscribe({ interface: "org.freedesktop.DBus.Properties", member: "PropertiesChanged",
                       path_namespace: UNITS.slice(0, -1) },
                     (path, type, signal, [name, properties]) => {
                         if ("ActiveState" in properties && path.endsWith("_2emount"))
                             onMount();
                         if ("ActiveState" in properties && path.endsWith("_2eservice"))
                             onService();
                     });
    client.call("/org/freedesktop/systemd1", "org.freedesktop.systemd1.Manager", "Subscribe", [])
            .catch(() => {}); // without systemd there are neither units nor signals
}
