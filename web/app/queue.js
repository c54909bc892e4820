/**
 * The page's own queue. It can give way to a queue that the host keeps: what the page does with it is asynchronous
 * where a host would have to answer, by id, and observed by events alone.
 *
 * Emits `entries` when entries come, go or move, `tags` when more is known of some, `player` when something else is
 * commanded to play, and `busy` when a search for playable files begins or ends.
 */

import { QueueState } from './queuestate.js';
import { TagReader } from './tags.js';
import { findPlayable } from './walk.js';

/** @typedef {import('./queuestate.js').Entry} Entry */
/** @typedef {import('./queuestate.js').Source} Source */
/** @typedef {import('./session.js').Session} Session */
/** @typedef {{ added: number, first: number, undo?: number }} Added */

/** The tags of a longer queue are read as its entries come into view. */
const mostTagsBehind = 2000;

export class Queue extends EventTarget {
    #session;
    #state;
    #tags;

    /** @type {Set<number>} */
    #untagged = new Set();

    /** @type {Set<number>} */
    #wanted = new Set();

    #searches = 0;
    #plays = new AbortController();
    #additions = new AbortController();

    /** @type {Promise<unknown>} */
    #lastAddition = Promise.resolve();

    /** @param {Session} session @param {{ random?: () => number }} [options] */
    constructor(session, { random } = {}) {
        super();
        this.#session = session;
        this.#state = new QueueState(random);
        this.#tags = new TagReader(
            session,
            (size) => this.#batch(size),
            (entries, tags) => this.#fill(entries, tags),
        );
    }

    /** In the order shown. @returns {readonly Entry[]} */
    get entries() {
        return this.#state.entries;
    }

    /** What plays, or would if somebody pressed play. */
    get current() {
        return this.#state.entry(this.#state.current);
    }

    /** What follows the current entry by itself. */
    get following() {
        return this.#state.entry(this.#state.next);
    }

    get state() {
        return this.#state.state;
    }

    /** Rises with each command to play the current entry from its beginning. */
    get starts() {
        return this.#state.starts;
    }

    get repeat() {
        return this.#state.repeat;
    }

    get shuffle() {
        return this.#state.shuffle;
    }

    /** Whether playable files are being searched. */
    get busy() {
        return this.#searches > 0;
    }

    /** @param {number} id */
    entry(id) {
        return this.#state.entry(id);
    }

    /** Index in the order shown, -1 without such an entry. @param {number} id */
    place(id) {
        return this.#state.place(id);
    }

    // Edits

    /**
     * Inserts files, and all below folders, behind the current entry and plays them.
     * @param {readonly string[]} paths encoded
     * @returns {Promise<Added | null>} null if something else was to be played meanwhile
     */
    async playNow(paths) {
        const sources = await this.#findForPlaying(paths);
        return sources && this.#edit(() => {
            const ids = this.#insert(sources);
            this.#state.play(ids[0]);
            return { added: ids.length, first: ids[0] };
        });
    }

    /**
     * Inserts files, and all below folders, behind the current entry.
     * @param {readonly string[]} paths encoded
     * @returns {Promise<Added | null>} null if the queue was cleared meanwhile
     */
    playNext(paths) {
        return this.#add(paths, (sources) => this.#insert(sources));
    }

    /**
     * @param {readonly string[]} paths encoded
     * @returns {Promise<Added | null>} null if the queue was cleared meanwhile
     */
    addToQueue(paths) {
        return this.#add(paths, (sources) => this.#noted(this.#state.append(sources)));
    }

    /**
     * Replaces all entries and plays the first of the new ones.
     * @param {readonly string[]} paths encoded
     * @returns {Promise<Added | null>} null if something else was to be played meanwhile
     */
    async replaceQueue(paths) {
        const sources = await this.#findForPlaying(paths);
        if (!sources) return null;
        this.#additions.abort();
        return this.#edit(() => {
            const undo = this.#state.replace(sources);
            this.#noted(this.entries.map((entry) => entry.id));
            return { added: sources.length, first: this.entries[0].id, undo };
        });
    }

    /** @param {Iterable<number>} ids @returns {Promise<number | null>} what `undo` takes; null if nothing was removed */
    async remove(ids) {
        return this.#edit(() => this.#state.remove(ids));
    }

    /** @returns {Promise<number | null>} what `undo` takes; null if nothing was removed */
    async clear() {
        this.#plays.abort();
        this.#additions.abort();
        return this.#edit(() => this.#state.clear());
    }

    /** @param {Iterable<number>} ids @param {number | 'head'} after */
    async move(ids, after) {
        this.#edit(() => this.#state.move(ids, after));
    }

    /** Brings back what an edit removed. @param {number} edit */
    async undo(edit) {
        this.#edit(() => this.#state.undo(edit));
    }

    /** Reads the tags of these entries next. @param {readonly number[]} ids */
    want(ids) {
        this.#wanted = new Set(ids.filter((id) => this.#untagged.has(id)));
        this.#tags.run();
    }

    // Commands

    /** Plays an entry from its beginning; null goes on. @param {number | null} [id] */
    play(id = null) {
        this.#command(() => this.#state.play(id));
    }

    pause() {
        this.#command(() => this.#state.pause());
    }

    stop() {
        this.#command(() => this.#state.stop());
    }

    next() {
        this.#command(() => this.#state.skip());
    }

    previous() {
        this.#command(() => this.#state.previous());
    }

    /** @param {import('./queuestate.js').Repeat} repeat */
    setRepeat(repeat) {
        this.#command(() => (this.#state.repeat = repeat));
    }

    /** @param {boolean} on */
    setShuffle(on) {
        this.#command(() => this.#state.setShuffle(on));
    }

    // Reports of the loudspeaker

    /** An entry is heard. @param {number} id */
    started(id) {
        const failed = this.entry(id)?.failed;
        this.#state.started(id);
        if (failed) this.#emit('tags');
    }

    /** The current entry has ended, and the loudspeaker goes on with the following one. @param {number} id */
    ended(id) {
        this.#command(() => this.#state.ended(id));
    }

    /** An entry cannot be played. @param {number} id */
    failed(id) {
        this.#command(() => this.#state.failed(id));
        this.#emit('tags');
    }

    /** The length of an entry, from who plays it. @param {number} id @param {number} duration in ms */
    measured(id, duration) {
        const entry = this.entry(id);
        if (!entry || Math.round(entry.duration / 1000) === Math.round(duration / 1000)) return;
        this.#state.update(new Map([[id, { duration }]]));
        this.#emit('tags');
    }

    /** The last command to play wins. @param {readonly string[]} paths */
    async #findForPlaying(paths) {
        this.#plays.abort();
        this.#plays = new AbortController();
        return this.#find(paths, this.#plays.signal);
    }

    /**
     * Additions take effect in the order of the commands.
     * @param {readonly string[]} paths
     * @param {(sources: Source[]) => number[]} insert
     */
    #add(paths, insert) {
        if (this.#additions.signal.aborted) this.#additions = new AbortController();
        const added = this.#addBehind(this.#lastAddition, this.#find(paths, this.#additions.signal), insert);
        this.#lastAddition = added.catch(() => {});
        return added;
    }

    /**
     * @param {Promise<unknown>} before
     * @param {Promise<Source[] | null>} found
     * @param {(sources: Source[]) => number[]} insert
     * @returns {Promise<Added | null>}
     */
    async #addBehind(before, found, insert) {
        const { signal } = this.#additions;
        const sources = await found;
        await before;
        if (!sources || signal.aborted) return null;
        return this.#edit(() => {
            const ids = insert(sources);
            return { added: ids.length, first: ids[0] };
        });
    }

    /** @param {readonly string[]} paths @param {AbortSignal} signal @returns {Promise<Source[] | null>} null if aborted */
    async #find(paths, signal) {
        this.#search(1);
        try {
            const sources = await findPlayable(this.#session, paths, signal);
            return signal.aborted ? null : sources;
        } catch (error) {
            if (signal.aborted) return null;
            throw error;
        } finally {
            this.#search(-1);
        }
    }

    /** @param {1 | -1} change */
    #search(change) {
        this.#searches += change;
        this.#emit('busy');
    }

    /** @param {Source[]} sources */
    #insert(sources) {
        return this.#noted(this.#state.insertNext(sources));
    }

    /** @param {number[]} ids */
    #noted(ids) {
        for (const id of ids) this.#untagged.add(id);
        return ids;
    }

    /** @template T @param {() => T} edit @returns {T} */
    #edit(edit) {
        const result = edit();
        this.#emit('entries');
        this.#emit('player');
        this.#tags.run();
        return result;
    }

    /** @param {() => void} command */
    #command(command) {
        command();
        this.#emit('player');
        this.#tags.run();
    }

    /** The entries whose tags are read next. @param {number} size */
    #batch(size) {
        const few = this.#untagged.size <= mostTagsBehind;
        const ids = [this.#state.current, this.#state.next, ...this.#wanted, ...(few ? this.#untagged : [])];
        const untagged = [...new Set(ids)].filter((id) => id !== null && this.#untagged.has(id));
        const entries = untagged.map((id) => this.#state.entry(id)).filter((entry) => entry !== null);
        return entries.slice(0, size);
    }

    /** @param {Entry[]} entries @param {Map<string, import('./tags.js').Tags>} tags */
    #fill(entries, tags) {
        for (const { id } of entries) {
            this.#untagged.delete(id);
            this.#wanted.delete(id);
        }
        this.#state.update(new Map(entries.map(({ id, path }) => [id, tags.get(path) ?? {}])));
        this.#emit('tags');
    }

    /** @param {'entries' | 'tags' | 'player' | 'busy'} type */
    #emit(type) {
        this.dispatchEvent(new Event(type));
    }
}
