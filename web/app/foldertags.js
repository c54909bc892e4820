import { TagReader } from './tags.js';

/** @typedef {import('./listing.js').Row} Row */
/** @typedef {import('./tags.js').Tags} Tags */

const mostRemembered = 20000;

/** Tags of the rows in view, read in batches and remembered until the file changes. Emits `tags` for each batch. */
export class FolderTags extends EventTarget {
    #reader;
    /** @type {Row[]} */
    #wanted = [];
    /** @type {Map<string, Tags>} the oldest first */
    #known = new Map();

    /** @param {import('./session.js').Session} session */
    constructor(session) {
        super();
        this.#reader = new TagReader(
            session,
            (size) => this.#wanted.filter((row) => !this.of(row)).slice(0, size),
            (rows, tags) => this.#keep(rows, tags),
        );
    }

    /** @param {Row} row */
    of(row) {
        return this.#known.get(keyOf(row));
    }

    /**
     * Reads the tags of these rows next; what was wanted before is dropped.
     * @param {Row[]} rows
     */
    want(rows) {
        this.#wanted = rows.filter((row) => row.type === 'audio' || row.type === 'video');
        void this.#reader.run();
    }

    /**
     * @param {Row[]} rows
     * @param {Map<string, Tags>} tags
     */
    #keep(rows, tags) {
        for (const row of rows) this.#known.set(keyOf(row), tags.get(row.path) ?? {});
        for (const key of this.#known.keys()) {
            if (this.#known.size <= mostRemembered) break;
            this.#known.delete(key);
        }
        this.dispatchEvent(new Event('tags'));
    }
}

/** @param {Row} row */
function keyOf(row) {
    return `${row.timestamp} ${row.path}`;
}
