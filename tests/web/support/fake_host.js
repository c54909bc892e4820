/** A host in memory that speaks the session protocol, for tests of what a real one does only by chance. */

/** @typedef {{ path: string, title?: string, type?: string, containerPlayable?: boolean, timestamp?: number, value?: any }} FakeRow */
/** @typedef {{ covers: (path: string) => boolean, opened: (path: string) => void, closed: (path: string) => void }} Presence */
/** @typedef {{ id?: number, method: string, params: any }} Request */
/** @typedef {(text: string) => void} Send */

const failures = {
    invalidRowsVersion: 'the version is not current',
    invalidPath: 'there is no such directory',
};

export class FakeHost {
    /** @type {Map<string, { rows: FakeRow[], version: number }>} */
    directories = new Map();
    /** @type {Request[]} what clients have asked, in order */
    requests = [];
    /** @type {Map<string, (value: any) => any>} what `set` does, by path */
    services = new Map();
    /** @type {Map<string, { name: string, message: string, code?: number }>} errors of directories, by path */
    faults = new Map();
    /** Whether connections are accepted. */
    reachable = true;
    /** The token that is needed, empty for none. */
    token = '';
    /** @type {Map<string, { body: Buffer, type: string }>} what is served as bytes, by relative address */
    files = new Map();
    /** @type {(request: Request) => Promise<void>} holds answers back */
    before = async () => {};
    /** @type {(path: string) => Promise<void>} holds the page's files back, by relative address */
    beforeFile = async () => {};
    valuesAtATime = 100000;
    /** The most characters in an answer. */
    textAtATime = Infinity;
    /** The actions of an item's menu: title, path and value of each. @type {(path: string) => any[][]} */
    menuOf = (path) => [
        ['Play Now', '/playlist/playNow', path],
        ['Add to Queue', '/playlist/addToQueue', path],
        ['Rate', '/file/rate', path],
    ];
    /** What happens when paths that are no directories are opened and closed. @type {Presence | null} */
    presence = null;
    /** @type {any[]} */
    roots = [root('/file', 'Music')];

    #nextVersion = 1;
    /** @type {Map<Send, Set<string>>} what each client has open */
    #clients = new Map();

    /**
     * @param {string} path
     * @param {string[]} names of files; those that end in `/` are directories
     */
    addDirectory(path, names) {
        this.directories.set(path, { rows: names.map((name) => rowOf(path, name)), version: this.#nextVersion++ });
    }

    /**
     * Replaces the rows of a directory and tells those who have it open.
     * @param {string} path
     * @param {string[]} names
     */
    change(path, names) {
        this.addDirectory(path, names);
        this.notify(path, ['reset']);
    }

    /** @param {string} path */
    remove(path) {
        this.directories.delete(path);
        this.notify(path, ['close']);
    }

    /**
     * @param {string} method
     * @returns {any[]} the parameters of all requests of a method
     */
    asked(method) {
        return this.requests.filter((request) => request.method === method).map((request) => request.params);
    }

    /**
     * @param {Send} send
     */
    addClient(send) {
        this.#clients.set(send, new Set());
    }

    /** @param {Send} send */
    removeClient(send) {
        const open = this.#clients.get(send) ?? [];
        this.#clients.delete(send);
        for (const path of open) if (this.presence?.covers(path)) this.presence.closed(path);
    }

    /**
     * @param {Send} send
     * @param {string} text
     */
    async receive(send, text) {
        const request = JSON.parse(text);
        this.requests.push(request);
        await this.before(request);
        if (!this.#clients.has(send)) return;
        const reply = { jsonrpc: '2.0', id: request.id };
        try {
            const answer = JSON.stringify({ ...reply, result: this.#answer(send, request) });
            if (answer.length > this.textAtATime) throw { code: -32003, message: 'the answer is too large' };
            send(answer);
        } catch (error) {
            send(JSON.stringify({ ...reply, error }));
        }
    }

    /**
     * @param {Send} send
     * @param {Request} request
     */
    #answer(send, { method, params }) {
        switch (method) {
            case 'describe':
                return { protocol: 1, version: '0', roots: this.roots, roles: [], limits: { values: this.valuesAtATime } };
            case 'rows':
                return this.#rows(params);
            case 'data':
                return this.#data(params);
            case 'open':
                this.#open(params.path);
                this.#clients.get(send)?.add(params.path);
                return true;
            case 'close':
                if (this.presence?.covers(params.path)) this.presence.closed(params.path);
                return this.#clients.get(send)?.delete(params.path);
            case 'menu':
                return menuWith(this.menuOf(params.path), params.roles);
            default:
                return this.services.get(params.path)?.(params.value) ?? null;
        }
    }

    /** @param {string} path */
    #open(path) {
        if (this.presence?.covers(path)) this.presence.opened(path);
        else this.#directory(path);
    }

    /** @param {{ path: string, first?: number, last?: number, version?: number, roles: string[] }} params */
    #rows({ path, first = 0, last, version = 0, roles }) {
        const directory = this.#directory(path);
        if (version > 0 && version !== directory.version) throw refusal('invalidRowsVersion');
        const asked = directory.rows.slice(first, last === undefined ? undefined : last + 1);
        const cut = asked.slice(0, Math.floor(this.valuesAtATime / roles.length));
        const rows = cut.map((row) => roles.map((role) => /** @type {any} */ (row)[role] ?? null));
        return { count: directory.rows.length, version: directory.version, rows };
    }

    /** @param {{ path: string, roles: string[] }} params */
    #data({ path, roles }) {
        const rows = [...this.directories.values()].flatMap((directory) => directory.rows);
        const row = rows.find((candidate) => candidate.path === path);
        if (!row) throw refusal('invalidPath');
        return roles.map((role) => /** @type {any} */ (row)[role] ?? null);
    }

    /** @param {string} path */
    #directory(path) {
        const fault = this.faults.get(path);
        if (fault) throw { code: fault.code ?? -32000, message: fault.message, data: fault };
        const directory = this.directories.get(path);
        if (!directory) throw refusal('invalidPath');
        return directory;
    }

    /**
     * @param {string} path
     * @param {string[]} changes
     * @param {number} [version]
     */
    notify(path, changes, version = this.#nextVersion) {
        const params = { path, changes, version };
        for (const [send, open] of this.#clients) {
            if (open.has(path)) send(JSON.stringify({ jsonrpc: '2.0', method: 'rowsChanged', params }));
            if (changes.includes('close')) open.delete(path);
        }
    }
}

/**
 * Sockets in memory to a host, and how they come and go.
 */
export class FakeNetwork {
    /** @type {any[]} */
    sockets = [];
    up = true;

    /** @param {FakeHost} host */
    constructor(host) {
        this.host = host;
    }

    /** A function for the option `connect` of a session. */
    connect = () => {
        const send = (/** @type {string} */ data) => queueMicrotask(() => socket.onmessage?.({ data }));
        const socket = {
            /** @type {any} */ onopen: null,
            /** @type {any} */ onmessage: null,
            /** @type {any} */ onclose: null,
            send: (/** @type {string} */ text) => void this.host.receive(send, text),
            close: () => {
                this.host.removeClient(send);
                queueMicrotask(() => socket.onclose?.({}));
            },
        };
        this.sockets.push(socket);
        queueMicrotask(() => {
            if (!this.up) return socket.onclose?.({});
            this.host.addClient(send);
            socket.onopen?.({});
        });
        return socket;
    };

    /** Breaks the newest connection. */
    break() {
        this.sockets.at(-1).close();
    }
}

/**
 * @param {string} prefix
 * @param {string} title
 */
function root(prefix, title) {
    return {
        prefix,
        title,
        kind: 'files',
        contextMenu: `${prefix}/menu/context`,
        services: { preparePlaylist: `${prefix}/playList/prepareItems` },
    };
}

/**
 * @param {string} directory
 * @param {string} name
 * @returns {FakeRow}
 */
function rowOf(directory, name) {
    const bare = name.replace(/\/$/, '');
    const path = `${directory.replace(/\/$/, '')}/${encodeURIComponent(bare)}`;
    const container = name.endsWith('/');
    const type = container ? 'container' : name.endsWith('.m3u') ? 'playlist' : 'audio';
    return { path, title: bare, type, containerPlayable: container, timestamp: 1 };
}

/** @param {any[][]} actions title, path and value of each @param {string[]} roles */
function menuWith(actions, roles) {
    const rows = actions.map(([title, path, value]) => roles.map((role) => /** @type {any} */ ({ title, path, value })[role] ?? null));
    return { count: rows.length, rows, title: 'File Context Menu', containerType: 100 };
}

/** @param {keyof failures} name */
function refusal(name) {
    const message = failures[name];
    return { code: -32000, message, data: { name, message, title: 'Error' } };
}
