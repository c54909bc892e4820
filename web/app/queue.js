/**
 * The queue that the host keeps, as this page shows it: entries live and as far as they are needed, and edits by id. A
 * move shows at once, and is taken back if the host refuses it.
 *
 * Events: `state` when the queue can be read or no longer; `rows` when more entries have arrived; `change` (a
 * RowsChange) when entries came, left, moved or got their tags; `busy` when the host begins or ends to look for playable
 * files.
 */

import { entryPath, entryRows } from './entries.js';
import { queuePath } from './paths.js';
import { movedBehind } from './reorder.js';
import { Rows, RowsChange } from './rows.js';
import { ConnectionLost } from './session.js';
import { uniqueText } from './unique.js';

/** @typedef {import('./entries.js').Entry} Entry */
/** @typedef {import('./session.js').Session} Session */
/**
 * What undoes edits: the ids of the entries that they added, and the host's `undo` of the one that removed entries.
 * @typedef {{ added: number[], removal?: number }} Undo
 */

/** The number of entries that were added, and what undoes that. @typedef {{ added: number, undo: Undo }} Added */

/**
 * A move that the rows do not show yet.
 * @typedef {object} Move
 * @property {number[]} ids
 * @property {number | 'head'} after
 * @property {Promise<number>} version of the rows that show it
 * @property {number} answered that version once it is known, else 0
 */

/** The host refused some of the paths after it had added others. */
export class PartlyAdded extends Error {
    /**
     * @param {Error} cause
     * @param {Added} done
     */
    constructor(cause, done) {
        super(cause.message, { cause });
        this.name = 'PartlyAdded';
        this.done = done;
    }
}

/** The host takes so many paths at a time. */
const mostPaths = 1000;

/** An edit that was under way when the connection broke is repeated if the connection is back within so many ms. */
const repeatWithin = 30000;

export class Queue extends EventTarget {
    #session;
    #rows;

    /** @type {Move[]} the oldest first */
    #moves = [];

    /** What they do to the rows. @type {import('./reorder.js').Reorder[]} */
    #reorders = [];

    /** The entry at the eye and where it is shown. @type {{ path: string, index: number } | null} */
    #eye = null;

    #additions = 0;

    /** @type {import('./rows.js').RowsState} */
    #state = 'loading';

    /** @param {Session} session */
    constructor(session) {
        super();
        this.#session = session;
        this.#rows = new Rows(session, queuePath, entryRows);
        this.#rows.addEventListener('state', () => this.#enter(this.#rows.state));
        this.#rows.addEventListener('rows', () => this.#arrived());
        this.#rows.addEventListener('change', (event) => this.#replaced(/** @type {RowsChange} */ (event)));
    }

    start() {
        return this.#rows.start();
    }

    get state() {
        return this.#state;
    }

    /** Whether the host has no queue. */
    get missing() {
        return this.state === 'unreadable' || this.state === 'gone';
    }

    get count() {
        return this.#rows.total;
    }

    /** Whether every entry has arrived. */
    get complete() {
        return this.#rows.complete;
    }

    /** Whether the host is looking for playable files. */
    get busy() {
        return this.#additions > 0;
    }

    /** @param {number} index @returns {Entry | undefined} undefined as long as the entry has not arrived */
    at(index) {
        return this.#rows.at(this.#reorders.reduceRight((at, reorder) => reorder.before(at), index));
    }

    /** @param {number} id @returns {number | undefined} undefined if the entry has not arrived or does not exist */
    indexOf(id) {
        const index = this.#rows.indexOf(entryPath(id));
        return index === undefined ? undefined : this.#shownAt(index);
    }

    /** The entries of a range that have arrived. @param {number} first @param {number} last @returns {Entry[]} */
    known(first, last) {
        const entries = [];
        for (let index = first; index <= Math.min(last, this.count - 1); ++index) {
            const entry = this.at(index);
            if (entry) entries.push(entry);
        }
        return entries;
    }

    /** The index of an entry, wherever it is. @param {number} id @returns {Promise<number | undefined>} */
    async find(id) {
        const index = await this.#rows.find(entryPath(id));
        return index === undefined ? undefined : this.#shownAt(index);
    }

    /** Fetches every entry. */
    all() {
        return this.#rows.all();
    }

    /** Says which entries are in view; `eye` is the one that stays where it is. @param {number} first @param {number} last @param {number} eye */
    show(first, last, eye) {
        const entry = eye < 0 ? undefined : this.at(eye);
        this.#eye = entry ? { path: entry.path, index: eye } : null;
        this.#rows.show(first, last, eye);
    }

    /** What the host offers for an entry: titles, paths of services or of a folder, and values. @param {number} id */
    async menu(id) {
        return (await this.#session.menu(entryPath(id), ['title', 'path', 'value'])).rows;
    }

    /** Asks a service that the menu of an entry names. @param {string} path @param {unknown} value */
    ask(path, value) {
        return this.#session.set(path, value);
    }

    // Edits

    /** Inserts files, and all below folders, behind the current entry and plays them. @param {readonly string[]} paths */
    playNow(paths) {
        return this.#add('playNow', paths);
    }

    /** Inserts files, and all below folders, behind the current entry. @param {readonly string[]} paths */
    playNext(paths) {
        return this.#add('playNext', paths);
    }

    /** @param {readonly string[]} paths */
    addToQueue(paths) {
        return this.#add('addToQueue', paths);
    }

    /** Replaces all entries and plays the first of the new ones. @param {readonly string[]} paths */
    replaceQueue(paths) {
        return this.#add('replaceQueue', paths);
    }

    /** @param {readonly number[]} ids @returns {Promise<Undo>} */
    async remove(ids) {
        return { added: [], removal: (await this.#edit('remove', ids)).undo };
    }

    /** @returns {Promise<Undo>} */
    async clear() {
        return { added: [], removal: (await this.#edit('clear', null)).undo };
    }

    async shuffle() {
        await this.#edit('shuffleQueue', null);
    }

    /** Undoes edits. What they removed comes back last, since the queue may have no room before. @param {Undo} undo */
    async undo({ added, removal }) {
        if (added.length > 0) await this.#removePresent(added);
        if (removal !== undefined) await this.#edit('undo', removal);
    }

    /**
     * Puts entries, in the order given, behind another one. Their neighbours count: the host refuses the move if somebody
     * else has edited the queue since it was shown here.
     * @param {readonly number[]} ids
     * @param {number | 'head'} after
     */
    async move(ids, after) {
        const shown = this.#moves.at(-1)?.version ?? Promise.resolve(this.#rows.version);
        /** @type {Move} */
        const move = { ids: [...ids], after, version: this.#moved(shown, ids, after), answered: 0 };
        this.#moves.push(move);
        this.#arrange();
        try {
            move.answered = await move.version;
            if (this.#rows.version >= move.answered) this.#forget(move);
        } catch (error) {
            this.#forget(move);
            throw error;
        }
    }

    /**
     * @param {Promise<number>} shown the version that the page shows
     * @param {readonly number[]} ids
     * @param {number | 'head'} after
     * @returns {Promise<number>} the version with the move
     */
    async #moved(shown, ids, after) {
        return (await this.#edit('move', { ids, after }, await shown)).version;
    }

    /** @param {Move} move */
    #forget(move) {
        this.#moves = this.#moves.filter((other) => other !== move);
        this.#arrange();
    }

    /** Shows the moves that the rows do not have. */
    #arrange() {
        this.#reorder();
        this.dispatchEvent(new RowsChange(0, new Set()));
    }

    #reorder() {
        this.#reorders = [];
        for (const { ids, after } of this.#moves) {
            const moved = ids.map((id) => this.indexOf(id)).filter((index) => index !== undefined);
            const anchor = after === 'head' ? -1 : this.indexOf(after);
            // A move of entries that have not arrived waits for the host.
            if (moved.length === ids.length && anchor !== undefined) this.#reorders.push(movedBehind(moved, anchor));
        }
    }

    /** @param {number} index in the rows */
    #shownAt(index) {
        return this.#reorders.reduce((at, reorder) => reorder.after(at), index);
    }

    /** @param {import('./rows.js').RowsState} state */
    #enter(state) {
        if (state === this.#state) return;
        this.#state = state;
        this.dispatchEvent(new Event('state'));
    }

    #arrived() {
        this.#reorder();
        this.dispatchEvent(new Event('rows'));
    }

    /** @param {RowsChange} change */
    #replaced(change) {
        this.#moves = this.#moves.filter((move) => move.answered === 0 || move.answered > this.#rows.version);
        this.#reorder();
        const index = this.#eye ? this.#rows.indexOf(this.#eye.path) : undefined;
        const moved = this.#eye && index !== undefined ? this.#shownAt(index) - this.#eye.index : change.moved;
        this.dispatchEvent(new RowsChange(moved, change.fresh));
    }

    /**
     * @param {string} service
     * @param {readonly string[]} paths
     * @returns {Promise<Added>}
     */
    async #add(service, paths) {
        this.#count(1);
        try {
            return await this.#addParts(service, paths);
        } finally {
            this.#count(-1);
        }
    }

    /**
     * @param {string} service
     * @param {readonly string[]} paths
     * @returns {Promise<Added>}
     */
    async #addParts(service, paths) {
        /** @type {Added} */
        const done = { added: 0, undo: { added: [] } };
        for (const edit of editsThatAdd(service, paths)) {
            try {
                noteAdded(done, await this.#edit(edit.service, edit.paths));
            } catch (error) {
                throw done.added > 0 ? new PartlyAdded(/** @type {Error} */ (error), done) : error;
            }
        }
        return done;
    }

    /** Removes those of some entries that are still there. @param {number[]} ids */
    async #removePresent(ids) {
        try {
            await this.#edit('remove', ids);
        } catch (error) {
            if (/** @type {any} */ (error).data?.name !== 'noSuchItem') throw error;
            await this.all();
            const present = ids.filter((id) => this.#rows.indexOf(entryPath(id)) !== undefined);
            if (present.length > 0) await this.#edit('remove', present);
        }
    }

    /** @param {1 | -1} change */
    #count(change) {
        this.#additions += change;
        this.dispatchEvent(new Event('busy'));
    }

    /**
     * The host carries an operation out once, so that an edit whose answer was lost can be repeated.
     * @param {string} service
     * @param {unknown} value
     * @param {number} [version] refuse the edit if somebody else has edited the queue since
     */
    async #edit(service, value, version) {
        const edit = { value, operation: uniqueText(16), ...(version === undefined ? {} : { version }) };
        const begunOnline = this.#session.state === 'online';
        for (;;) {
            try {
                return await this.#session.set(queuePath + service, edit);
            } catch (error) {
                const lost = error instanceof ConnectionLost && begunOnline;
                if (!lost || !(await this.#online())) throw error;
            }
        }
    }

    /** Waits for the connection. @returns {Promise<boolean>} false if it takes too long */
    async #online() {
        const session = this.#session;
        const stopped = new AbortController();
        return new Promise((resolve) => {
            const settle = () => {
                stopped.abort();
                clearTimeout(timer);
                resolve(session.state === 'online');
            };
            const timer = setTimeout(settle, repeatWithin);
            const changed = () => (session.state === 'online' || session.state === 'closed') && settle();
            session.addEventListener('state', changed, { signal: stopped.signal });
            changed();
        });
    }
}

/**
 * The edits that together add some paths. Behind the current entry the last part comes first, so that the first one ends
 * up in front.
 * @param {string} service
 * @param {readonly string[]} paths
 */
function editsThatAdd(service, paths) {
    const [first, ...others] = partsOf(paths);
    const atTheEnd = service === 'addToQueue' || service === 'replaceQueue';
    const edits = others.map((part) => ({ service: atTheEnd ? 'addToQueue' : 'playNext', paths: part }));
    return atTheEnd ? [{ service, paths: first }, ...edits] : [...edits.reverse(), { service, paths: first }];
}

/**
 * Adds the host's answer to what is done. The ids of one edit follow one another from `first`. With an `undo` the edit has
 * replaced entries, and the host takes back all of it.
 * @param {Added} done
 * @param {{ added: number, first: number, undo?: number }} answer
 */
function noteAdded(done, { added, first, undo }) {
    done.added += added;
    if (undo !== undefined) done.undo.removal = undo;
    else for (let id = first; id < first + added; ++id) done.undo.added.push(id);
}

/** @param {readonly string[]} paths */
function partsOf(paths) {
    const parts = [paths.slice(0, mostPaths)];
    for (let from = mostPaths; from < paths.length; from += mostPaths) parts.push(paths.slice(from, from + mostPaths));
    return parts;
}
