/** Finds what can be played at and below paths. */

import { text } from './language.js';
import { QueueFullError, mostEntries } from './queuestate.js';

/** @typedef {import('./queuestate.js').Source} Source */

/**
 * The part of a session that a walk uses.
 * @typedef {Pick<import('./session.js').Session, 'rows' | 'data' | 'open' | 'close'>} Reader
 */

/** Linked folders can contain themselves. */
const deepest = 32;
const pageSize = 5000;
const askedAtOnce = 32;
const mostTries = 4;
const roles = ['path', 'title', 'type'];

/** Nothing at the paths can be played. */
export class NothingPlayableError extends Error {
    constructor() {
        super(text('nothingPlayable'));
        this.name = 'noSuchItem';
    }
}

/**
 * The playable files among the paths and below those that are folders, depth first, in the order of the rows. Playlist
 * files are left out. A folder below that cannot be read is skipped; a path that cannot be read is an error.
 * @param {Reader} session
 * @param {readonly string[]} paths
 * @param {AbortSignal} [signal]
 * @returns {Promise<Source[]>} at least one
 */
export async function findPlayable(session, paths, signal) {
    const walk = new Walk(session, signal);
    for (let first = 0; first < paths.length; first += askedAtOnce) {
        const asked = paths.slice(first, first + askedAtOnce).map((path) => session.data(path, roles));
        for (const row of await Promise.all(asked)) await walk.take(row, 0);
        signal?.throwIfAborted();
    }
    if (walk.found.length === 0) throw new NothingPlayableError();
    return walk.found;
}

class Walk {
    #session;
    #signal;

    /** @type {Source[]} */
    found = [];

    /** @param {Reader} session @param {AbortSignal} [signal] */
    constructor(session, signal) {
        this.#session = session;
        this.#signal = signal;
    }

    /** @param {any[]} row @param {number} depth */
    async take([path, title, type], depth) {
        if (type === 'container') await this.#enter(path, depth);
        else if (type === 'audio' || type === 'video') this.#keep({ path, title });
    }

    /** @param {string} path @param {number} depth */
    async #enter(path, depth) {
        if (depth === deepest) return;
        for (const row of await this.#readRows(path, depth)) await this.take(row, depth + 1);
    }

    /** @param {Source} source */
    #keep(source) {
        if (this.found.length === mostEntries) throw new QueueFullError();
        this.found.push(source);
    }

    /** @param {string} path @param {number} depth */
    async #readRows(path, depth) {
        try {
            const { count, rows } = await this.#page(path, 0);
            return rows.length < count ? await this.#readPages(path) : rows;
        } catch (error) {
            if (depth === 0 || this.#signal?.aborted) throw error;
            return [];
        }
    }

    /** Only the rows of an open folder have a version. @param {string} path */
    async #readPages(path) {
        const listener = () => {};
        await this.#session.open(path, listener);
        try {
            for (let tries = 1; ; ++tries) {
                const rows = await this.#readVersion(path, tries === mostTries);
                if (rows) return rows;
            }
        } finally {
            this.#session.close(path, listener);
        }
    }

    /** All rows of one version, or null if it changed meanwhile. @param {string} path @param {boolean} last */
    async #readVersion(path, last) {
        try {
            const { count, version, rows } = await this.#page(path, 0);
            while (rows.length < count) {
                const page = await this.#page(path, rows.length, version);
                if (page.rows.length === 0) break;
                rows.push(...page.rows);
            }
            return rows;
        } catch (error) {
            if (last || /** @type {any} */ (error).data?.name !== 'invalidRowsVersion') throw error;
            return null;
        }
    }

    /** @param {string} path @param {number} first @param {number} [version] */
    #page(path, first, version = 0) {
        const range = { first, last: first + pageSize - 1, version, roles };
        return this.#session.rows(path, range, this.#signal);
    }
}
