/** Reads the tags of entries, a batch at a time, behind everything else. */

import { isBusy } from './session.js';

/** @typedef {{ title?: string, artist?: string, album?: string, duration?: number, mimeType?: string }} Tags */
/** @typedef {import('./session.js').Session} Session */

const batchSize = 50;
const retryDelay = 2000;

/** @template {{ path: string }} Entry */
export class TagReader {
    #session;
    #nextBatch;
    #fill;
    #running = false;

    /** @type {Promise<Map<string, string>> | null} */
    #services = null;

    /**
     * @param {Pick<Session, 'describe' | 'set' | 'state' | 'addEventListener'>} session
     * @param {(size: number) => Entry[]} nextBatch entries without tags, the most urgent first
     * @param {(entries: Entry[], tags: Map<string, Tags>) => void} fill takes what is known of a batch, by path
     */
    constructor(session, nextBatch, fill) {
        this.#session = session;
        this.#nextBatch = nextBatch;
        this.#fill = fill;
        session.addEventListener('state', () => this.run());
    }

    /** Goes on until there is nothing more to read or the connection is lost. */
    async run() {
        if (this.#running) return;
        this.#running = true;
        try {
            for (let batch = []; this.#session.state === 'online' && (batch = this.#nextBatch(batchSize)).length > 0; ) {
                const tags = await this.#read(batch.map((entry) => entry.path));
                if (tags) this.#fill(batch, tags);
            }
        } finally {
            this.#running = false;
        }
    }

    /**
     * Null if it is to be tried again.
     * @param {string[]} paths
     * @returns {Promise<Map<string, Tags> | null>}
     */
    async #read(paths) {
        try {
            return await this.#readTogether(paths);
        } catch (error) {
            if (/** @type {any} */ (error).name === 'ConnectionLost') return null;
            if (isBusy(error)) return pause(retryDelay);
        }
        // One entry that is refused must not cost the others their tags.
        if (paths.length === 1) return new Map();
        const half = Math.ceil(paths.length / 2);
        const parts = [await this.#read(paths.slice(0, half)), await this.#read(paths.slice(half))];
        return parts.includes(null) ? null : new Map(parts.flatMap((part) => [...(part ?? [])]));
    }

    /** @param {string[]} paths */
    async #readTogether(paths) {
        const different = [...new Set(paths)];
        /** @type {Map<string, Tags>} */
        const tags = new Map();
        for (const prefix of new Set(different.map(prefixOf))) {
            const service = await this.#service(prefix);
            const group = different.filter((path) => prefixOf(path) === prefix);
            const items = service ? await this.#session.set(service, group) : [];
            for (const item of items) tags.set(item.path, tagsOf(item));
        }
        return tags;
    }

    /** @param {string} prefix */
    async #service(prefix) {
        try {
            let services = await (this.#services ??= this.#describe());
            if (!services.has(prefix)) services = await (this.#services = this.#describe());
            return services.get(prefix);
        } catch (error) {
            this.#services = null;
            throw error;
        }
    }

    async #describe() {
        const { roots } = await this.#session.describe();
        return new Map(roots.map((root) => [root.prefix, root.services?.preparePlaylist ?? '']));
    }
}

/** @param {string} path */
function prefixOf(path) {
    return path.slice(0, path.indexOf('/', 1));
}

/** Leaves out what the file does not say. @param {any} item @returns {Tags} */
function tagsOf(item) {
    const { artist, album } = item.mediaData?.metaData ?? {};
    const { duration, mimeType } = item.mediaData?.resources?.[0] ?? {};
    const fields = { title: item.title, artist, album, duration, mimeType };
    return Object.fromEntries(Object.entries(fields).filter(([, value]) => value !== undefined && value !== null));
}

/** @param {number} milliseconds @returns {Promise<null>} */
function pause(milliseconds) {
    return new Promise((resolve) => setTimeout(() => resolve(null), milliseconds));
}
