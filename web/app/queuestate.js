/**
 * The entries of a queue, the order in which they play, and which one is current. Plain values: no session, no sound,
 * no events. Every edit is by id.
 */

import { text } from './language.js';
import { mediaAddress } from './paths.js';

/** @typedef {'playing' | 'paused' | 'stopped'} PlayState as commanded; the loudspeaker may still be loading */
/** @typedef {'off' | 'all' | 'one'} Repeat */

/**
 * @typedef {object} Source what an entry is made from
 * @property {string} path encoded path of the file
 * @property {string} title the tag's title, or the file's name
 * @property {string} [artist]
 * @property {string} [album]
 * @property {number} [duration] in ms
 */

/**
 * @typedef {object} Entry
 * @property {number} id rises from 1 and is never used again
 * @property {string} path encoded path of the file
 * @property {string} title the tag's title, or the file's name
 * @property {string} artist empty without one
 * @property {string} album empty without one
 * @property {number} duration in ms, 0 as long as nobody knows it
 * @property {string} uri where its bytes are, relative to the page
 * @property {boolean} failed it could not be played
 */

/**
 * @typedef {object} Edit what it takes to take an edit back
 * @property {number[]} ids all ids before the edit, in the order shown
 * @property {number[] | null} shuffled the same in playing order
 * @property {Map<number, Entry>} removed
 * @property {Set<number>} added ids that the edit itself brought
 * @property {number | null} current
 */

/** Entries that a queue holds at most. */
export const mostEntries = 50000;

/** So many entries in a row that cannot be played end the playing. */
export const mostFailures = 10;

/** Edits that can be taken back. */
const mostEdits = 20;

/** Refuses entries beyond mostEntries. */
export class QueueFullError extends Error {
    constructor() {
        super(text('queueFull', { count: mostEntries }));
        this.name = 'queueFull';
    }
}

export class QueueState {
    /** @type {Entry[]} */
    #entries = [];

    /** Playing order while shuffled. @type {number[] | null} */
    #shuffled = null;

    /** @type {Map<number, number> | null} */
    #places = null;

    /** @type {Map<number, number> | null} */
    #turns = null;

    /** @type {Map<number, Edit>} */
    #edits = new Map();

    #lastId = 0;
    #lastEdit = 0;
    #failures = 0;

    /** The last entry was played to its end. */
    #over = false;

    #random;

    /** @type {number | null} */
    current = null;

    /** @type {PlayState} */
    state = 'stopped';

    /** @type {Repeat} */
    repeat = 'off';

    /** Rises with each command to play the current entry from its beginning. */
    starts = 0;

    /** @param {() => number} random gives numbers from 0 up to, but without, 1 */
    constructor(random = Math.random) {
        this.#random = random;
    }

    /** In the order shown. The array changes; take a copy to keep it. @returns {readonly Entry[]} */
    get entries() {
        return this.#entries;
    }

    get shuffle() {
        return this.#shuffled !== null;
    }

    /** @param {number | null} id @returns {Entry | null} */
    entry(id) {
        const place = id === null ? -1 : this.place(id);
        return place < 0 ? null : this.#entries[place];
    }

    /** Index in the order shown, -1 without such an entry. @param {number} id */
    place(id) {
        this.#places ??= placesOf(this.#ids());
        return this.#places.get(id) ?? -1;
    }

    /** The id that follows the current entry by itself, or null. */
    get next() {
        return this.repeat === 'one' ? this.current : this.#neighbour(1, this.repeat === 'all');
    }

    // Edits

    /** Inserts behind the current entry, without one at the head. @param {Source[]} sources @returns {number[]} new ids */
    insertNext(sources) {
        const entries = this.#made(sources);
        const ids = entries.map((entry) => entry.id);
        this.#entries = insertedAt(this.#entries, this.current === null ? 0 : this.place(this.current) + 1, entries);
        if (this.#shuffled) {
            const turn = this.current === null ? 0 : this.#turn(this.current) + 1;
            this.#shuffled = insertedAt(this.#shuffled, turn, ids);
        }
        this.#reordered();
        return ids;
    }

    /** @param {Source[]} sources @returns {number[]} new ids */
    append(sources) {
        const entries = this.#made(sources);
        const ids = entries.map((entry) => entry.id);
        const turn = this.current === null ? 0 : this.#turn(this.current) + 1;
        this.#entries = this.#entries.concat(entries);
        if (this.#shuffled) {
            const played = this.#shuffled.slice(0, turn);
            this.#shuffled = played.concat(this.#mixed(this.#shuffled.slice(turn).concat(ids)));
        }
        this.#reordered();
        return ids;
    }

    /** Plays the first of the new entries. @param {Source[]} sources @returns {number} what undo() takes */
    replace(sources) {
        const edit = this.#editOf(this.#entries);
        this.#entries = this.#made(sources, mostEntries);
        edit.added = new Set(this.#ids());
        if (this.#shuffled) {
            const [first, ...others] = this.#ids();
            this.#shuffled = [first, ...this.#mixed(others)];
        }
        this.#reordered();
        this.play(this.#entries[0].id);
        return this.#remember(edit);
    }

    /** What plays and is removed gives way to the entry that would have followed. @param {Iterable<number>} ids */
    remove(ids) {
        const gone = new Set([...ids].filter((id) => this.place(id) >= 0));
        if (gone.size === 0) return null;
        const edit = this.#editOf(this.#entries.filter((entry) => gone.has(entry.id)));
        const heir = this.current !== null && gone.has(this.current) ? this.#heir(gone) : this.current;
        this.#entries = this.#entries.filter((entry) => !gone.has(entry.id));
        this.#shuffled = this.#shuffled?.filter((id) => !gone.has(id)) ?? null;
        this.#reordered();
        if (heir !== this.current) this.#pass(heir);
        return this.#remember(edit);
    }

    clear() {
        return this.remove(this.#ids());
    }

    /**
     * Puts entries, in the order given, behind another; an anchor among them changes nothing.
     * @param {Iterable<number>} ids
     * @param {number | 'head'} after
     * @returns {boolean} whether anything changed
     */
    move(ids, after) {
        const moved = [...new Set(ids)].filter((id) => this.place(id) >= 0);
        const gone = new Set(moved);
        if (moved.length === 0 || (after !== 'head' && (gone.has(after) || this.place(after) < 0))) return false;
        const entries = moved.map((id) => /** @type {Entry} */ (this.entry(id)));
        const others = this.#entries.filter((entry) => !gone.has(entry.id));
        const place = after === 'head' ? 0 : others.findIndex((entry) => entry.id === after) + 1;
        const result = insertedAt(others, place, entries);
        if (result.every((entry, index) => entry === this.#entries[index])) return false;
        this.#entries = result;
        this.#reordered();
        return true;
    }

    /** Brings back what an edit removed, under its ids and to its place. @param {number} number @returns {boolean} */
    undo(number) {
        const edit = this.#edits.get(number);
        if (!edit || this.#entries.length - this.#held(edit.added) + edit.removed.size > mostEntries) return false;
        this.#edits.delete(number);
        const gone = (/** @type {number} */ id) => edit.added.has(id);
        const entries = new Map(this.#entries.map((entry) => [entry.id, entry]));
        edit.removed.forEach((entry, id) => entries.set(id, entry));
        const ids = restored(this.#ids(), edit.ids, edit.removed).filter((id) => !gone(id));
        if (this.#shuffled) {
            const order = restored(this.#shuffled, edit.shuffled ?? edit.ids, edit.removed);
            this.#shuffled = order.filter((id) => !gone(id));
        }
        this.#entries = ids.map((id) => /** @type {Entry} */ (entries.get(id)));
        this.#reordered();
        if (this.entry(this.current) === null) this.#pass(this.entry(edit.current) && edit.current);
        return true;
    }

    /** Fills in what has become known of entries. @param {Map<number, Partial<Source> & { failed?: boolean }>} news */
    update(news) {
        for (const [id, fields] of news) {
            const place = this.place(id);
            if (place >= 0) this.#entries[place] = { ...this.#entries[place], ...fields };
        }
    }

    // Commands

    /** Plays an entry from its beginning; null goes on. @param {number | null} id */
    play(id = null) {
        if (id === null && this.state === 'paused') {
            this.state = 'playing';
            return;
        }
        const start = id ?? this.#resumed();
        if (start === null || this.place(start) < 0 || (id === null && this.state === 'playing')) return;
        this.state = 'playing';
        this.#failures = 0;
        this.#start(start);
    }

    pause() {
        if (this.state === 'playing') this.state = 'paused';
    }

    stop() {
        this.state = 'stopped';
    }

    /** To the next entry; behind the last one stops. */
    skip() {
        this.#follow(this.#neighbour(1, this.repeat !== 'off'));
    }

    /** To the previous entry; at the first one begins it again. */
    previous() {
        const id = this.#neighbour(-1, this.repeat !== 'off') ?? this.current;
        if (id !== null) this.#start(id);
    }

    /** @param {boolean} on the current entry then comes first, and the others follow in any order */
    setShuffle(on) {
        if (on === this.shuffle) return;
        const others = this.#ids().filter((id) => id !== this.current);
        this.#shuffled = on ? (this.current === null ? [] : [this.current]).concat(this.#mixed(others)) : null;
        this.#turns = null;
    }

    // Reports of the loudspeaker

    /** The entry is heard. @param {number} id */
    started(id) {
        this.#failures = 0;
        if (this.entry(id)?.failed) this.update(new Map([[id, { failed: false }]]));
    }

    /** The current entry has ended, and the loudspeaker goes on with `next` by itself. @param {number} id */
    ended(id) {
        if (id !== this.current) return;
        const next = this.next;
        if (next === null) this.#finish();
        else this.current = next;
    }

    /** The entry cannot be played. @param {number} id */
    failed(id) {
        this.update(new Map([[id, { failed: true }]]));
        if (id !== this.current) return;
        this.#failures += 1;
        if (this.#failures >= Math.min(mostFailures, this.#entries.length)) this.stop();
        else this.#follow(this.#neighbour(1, this.repeat !== 'off'));
    }

    #ids() {
        return this.#entries.map((entry) => entry.id);
    }

    #order() {
        return this.#shuffled ?? this.#ids();
    }

    /** Index in playing order. @param {number} id */
    #turn(id) {
        if (!this.#shuffled) return this.place(id);
        this.#turns ??= placesOf(this.#shuffled);
        return this.#turns.get(id) ?? -1;
    }

    #reordered() {
        this.#places = null;
        this.#turns = null;
    }

    /** @param {number} turn */
    #idAt(turn) {
        return (this.#shuffled ? this.#shuffled[turn] : this.#entries[turn]?.id) ?? null;
    }

    /** @param {1 | -1} step @param {boolean} around */
    #neighbour(step, around) {
        const count = this.#entries.length;
        if (this.current === null || count === 0) return null;
        const turn = this.#turn(this.current) + step;
        return around ? this.#idAt((turn + count) % count) : this.#idAt(turn);
    }

    /** What follows the current entry when it goes with others. @param {Set<number>} gone */
    #heir(gone) {
        const order = this.#order();
        const turn = this.#turn(/** @type {number} */ (this.current));
        const behind = order.slice(turn).find((id) => !gone.has(id));
        return behind ?? (this.repeat === 'off' ? null : order.find((id) => !gone.has(id)) ?? null);
    }

    /** What plays when somebody presses play while nothing does. */
    #resumed() {
        if (this.current === null) return this.#idAt(0);
        return this.#over ? this.#neighbour(1, false) ?? this.#idAt(0) : this.current;
    }

    /** @param {number} id */
    #start(id) {
        this.current = id;
        this.#over = false;
        this.starts += 1;
    }

    /** @param {number | null} id */
    #follow(id) {
        if (id === null) this.#finish();
        else this.#start(id);
    }

    /** Makes another entry current because the current one is gone. @param {number | null} id */
    #pass(id) {
        if (id === null) {
            this.current = null;
            this.stop();
        } else {
            this.#start(id);
        }
    }

    #finish() {
        this.#over = this.current !== null;
        this.stop();
    }

    /** @param {Source[]} sources @param {number} room @returns {Entry[]} */
    #made(sources, room = mostEntries - this.#entries.length) {
        if (sources.length > room) throw new QueueFullError();
        return sources.map((source) => ({
            artist: '', album: '', duration: 0, ...source, id: ++this.#lastId, uri: mediaAddress(source.path), failed: false,
        }));
    }

    /** @param {readonly Entry[]} removed @returns {Edit} */
    #editOf(removed) {
        return {
            ids: this.#ids(),
            shuffled: this.#shuffled,
            removed: new Map(removed.map((entry) => [entry.id, entry])),
            added: new Set(),
            current: this.current,
        };
    }

    /** @param {Edit} edit */
    #remember(edit) {
        this.#edits.set(++this.#lastEdit, edit);
        this.#edits.delete(this.#lastEdit - mostEdits);
        return this.#lastEdit;
    }

    /** @param {Set<number>} ids */
    #held(ids) {
        return [...ids].filter((id) => this.place(id) >= 0).length;
    }

    /** Fisher and Yates' shuffle. @param {number[]} ids */
    #mixed(ids) {
        const mixed = ids.slice();
        for (let last = mixed.length - 1; last > 0; --last) {
            const other = Math.floor(this.#random() * (last + 1));
            [mixed[last], mixed[other]] = [mixed[other], mixed[last]];
        }
        return mixed;
    }
}

/** @param {number[]} ids */
function placesOf(ids) {
    return new Map(ids.map((id, index) => [id, index]));
}

/** @template T @param {T[]} values @param {number} place @param {T[]} added */
function insertedAt(values, place, added) {
    return values.slice(0, place).concat(added, values.slice(place));
}

/**
 * Merges removed ids back, each behind the nearest one that preceded it and is still there.
 * @param {number[]} now
 * @param {number[]} before
 * @param {Map<number, Entry>} removed
 */
function restored(now, before, removed) {
    const there = new Set(now);
    /** @type {Map<number | null, number[]>} */
    const behind = new Map([[null, []]]);
    /** @type {number | null} */
    let anchor = null;
    for (const id of before) {
        if (removed.has(id) && !there.has(id)) behind.get(anchor)?.push(id);
        else if (there.has(id)) behind.set((anchor = id), []);
    }
    return (behind.get(null) ?? []).concat(now.flatMap((id) => [id, ...(behind.get(id) ?? [])]));
}
