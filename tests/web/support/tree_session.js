import { nameOf } from '../../../web/app/paths.js';

/**
 * A session whose host serves a tree from memory. A folder is an object, a file the tags that it has; a folder that
 * cannot be read is null.
 */

/** @typedef {{ [name: string]: Node }} Folder */
/** @typedef {Folder | string | null} Node a string is a file's artist */

export class TreeSession extends EventTarget {
    /** @type {Folder} */
    root;
    #versions = new Map();

    /** All requests, as `method path`. @type {string[]} */
    requests = [];

    state = 'online';

    /** Rows in an answer at most. */
    pageSize = 5000;

    /** Called before each answer. @type {(request: string) => any} */
    before = () => {};

    /** @param {Folder} root */
    constructor(root) {
        super();
        this.root = root;
    }

    /** The rows of an open folder have another version. @param {string} path */
    change(path) {
        if (this.#versions.has(path)) this.#versions.set(path, this.#versions.get(path) + 1);
    }

    get openPaths() {
        return [...this.#versions.keys()];
    }

    async describe() {
        return { roots: [{ prefix: '/file', services: { preparePlaylist: '/file/playList/prepareItems' } }] };
    }

    /** @param {string} path */
    async data(path) {
        await this.#asked(`data ${path}`);
        return this.#row(path, this.#find(path));
    }

    /**
     * @param {string} path
     * @param {{ first: number, last: number, version: number }} range
     * @param {AbortSignal} [signal]
     */
    async rows(path, { first, last, version }, signal) {
        await this.#asked(`rows ${path} ${first}`);
        signal?.throwIfAborted();
        const current = this.#versions.get(path) ?? 0;
        if (version > 0 && version !== current) throw refusal('invalidRowsVersion');
        const folder = this.#find(path);
        if (folder === null) throw refusal('error');
        const all = Object.entries(folder).map(([name, node]) => this.#row(joined(path, encodeURIComponent(name)), node));
        return { count: all.length, version: current, rows: all.slice(first, Math.min(last + 1, first + this.pageSize)) };
    }

    /** @param {string} path */
    async open(path) {
        await this.#asked(`open ${path}`);
        this.#versions.set(path, 7);
    }

    /** @param {string} path */
    close(path) {
        this.#versions.delete(path);
    }

    /** @param {string} service @param {string[]} paths */
    async set(service, paths) {
        await this.#asked(`set ${service} ${paths.length}`);
        return paths.map((path) => ({
            path,
            title: `Title of ${nameOf(path)}`,
            mediaData: { metaData: { serviceID: 'file', artist: this.#find(path) }, resources: [{ duration: durationOf(path) }] },
        }));
    }

    /** @param {string} request */
    async #asked(request) {
        this.requests.push(request);
        await this.before(request);
    }

    /** @param {string} path @returns {any} */
    #find(path) {
        const names = path.split('/').slice(2).filter((name) => name !== '').map(decodeURIComponent);
        return names.reduce((/** @type {any} */ folder, name) => {
            if (!(name in folder)) throw refusal('invalidPath');
            return folder[name];
        }, this.root);
    }

    /** @param {string} path @param {Node} node */
    #row(path, node) {
        const title = nameOf(path);
        if (typeof node !== 'string') return [path, title, 'container'];
        return [path, title, /\.m3u$/.test(path) ? 'playlist' : /\.jpg$/.test(path) ? 'image' : 'audio'];
    }
}

/** The names of some sounds say how long they are. @param {string} path */
function durationOf(path) {
    return Number(/(\d+) ms.wav$/.exec(decodeURIComponent(path))?.[1] ?? 1500);
}

/** @param {string} path @param {string} name */
function joined(path, name) {
    return path.endsWith('/') ? path + name : `${path}/${name}`;
}

/** @param {string} name */
function refusal(name) {
    return Object.assign(new Error(name), { code: -32000, data: { name } });
}
