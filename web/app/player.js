/**
 * The host's player, for this page as its remote control: what it does, what it can play on, and commands.
 *
 * Events: `player` when it does something else or more is known of what it plays; `outputs` when outputs come or go;
 * `givenUp` when it stops because nothing can be played; `refused` (a Refused) when a command failed.
 */

import { entryPath, entryRows } from './entries.js';
import { Live } from './live.js';
import { nameOf, queuePath } from './paths.js';

/** @typedef {import('./entries.js').Entry} Entry */
/** @typedef {import('./session.js').Session} Session */
/** @typedef {'playing' | 'paused' | 'stopped'} PlayState as commanded; the output may still be loading */
/** @typedef {'off' | 'all' | 'one'} Repeat */

/**
 * @typedef {object} PlayerValue
 * @property {PlayState} state
 * @property {number | null} current id of the entry that plays, or would if somebody pressed play
 * @property {number | null} next id of the entry that follows by itself
 * @property {number} position in ms
 * @property {number} at when the position was so, in ms by the host's clock
 * @property {number} now by the host's clock
 * @property {number} serial rises with each command
 * @property {string | null} output
 * @property {number} volume from 0 to 100
 * @property {Repeat} repeat
 * @property {boolean} shuffle
 * @property {number | null} [failed] id of the entry that could not be played last
 */

export const playerPath = `${queuePath}player`;
export const outputsPath = `${queuePath}outputs`;

/** Behind so many ms of a track, the button for the previous one begins it again. */
const beginsAgainAfter = 3000;

/** @type {PlayerValue} */
const idle = {
    state: 'stopped',
    current: null,
    next: null,
    position: 0,
    at: 0,
    now: 0,
    serial: 0,
    output: null,
    volume: 100,
    repeat: 'off',
    shuffle: false,
};

/** A command failed. */
export class Refused extends Event {
    /** @param {any} error */
    constructor(error) {
        super('refused');
        this.error = error;
    }
}

export class Player extends EventTarget {
    #session;
    #clock;
    #state;
    #names;
    #value = idle;

    /** When the value came, by this page's clock. */
    #cameAt = 0;

    /** Of the entries that are current and next. @type {Map<number, Entry>} */
    #entries = new Map();
    #outdated = false;

    /** @type {Set<number>} */
    #failed = new Set();

    /** Where a command seeks that is under way, in ms. @type {number | null} */
    sought = null;

    /** The volume that was asked for last, until the host has it. @type {number | null} */
    #volume = null;

    /** @type {string[]} */
    outputs = [];

    /** Makes an output the active one, where a command to play finds none. */
    takeOutput = async () => {};

    /**
     * @param {Session} session
     * @param {import('./queue.js').Queue} queue
     * @param {() => number} clock in ms
     */
    constructor(session, queue, clock = () => performance.now()) {
        super();
        this.#session = session;
        this.#clock = clock;
        this.#state = new Live(session, playerPath, () => this.#read());
        this.#names = new Live(session, outputsPath, () => this.#readOutputs());
        queue.addEventListener('state', () => queue.state === 'ready' && this.#start());
        queue.addEventListener('change', () => this.#describeAnew());
    }

    get state() {
        return this.#value.state;
    }

    get serial() {
        return this.#value.serial;
    }

    get output() {
        return this.#value.output;
    }

    get volume() {
        return this.#volume ?? this.#value.volume;
    }

    get repeat() {
        return this.#value.repeat;
    }

    get shuffle() {
        return this.#value.shuffle;
    }

    /** What plays, or would if somebody pressed play. */
    get current() {
        return this.#entry(this.#value.current);
    }

    /** What follows the current entry by itself. */
    get following() {
        return this.#entry(this.#value.next);
    }

    /** In ms, reckoned from the position that was known last. */
    get position() {
        if (this.sought !== null) return this.sought;
        const { state, position, at, now } = this.#value;
        const passed = state === 'playing' ? now - at + this.#clock() - this.#cameAt : 0;
        return Math.max(0, Math.min(this.duration || Infinity, position + passed));
    }

    /** The position as it was at `at`, both in ms by the host's clock. */
    get mark() {
        const { position, at } = this.#value;
        return { position, at };
    }

    /** In ms, 0 as long as nobody knows it. */
    get duration() {
        return this.current?.duration ?? 0;
    }

    /** Whether an entry could not be played. @param {number} id */
    hasFailed(id) {
        return this.#failed.has(id);
    }

    // Commands

    /** Plays an entry from its beginning; null goes on. @param {number | null} [id] */
    async play(id = null) {
        await this.#command('play', id, () => this.findOutput());
    }

    pause() {
        return this.#command('pause');
    }

    async toggle() {
        await (this.state === 'playing' ? this.pause() : this.play());
    }

    stop() {
        return this.#command('stop');
    }

    next() {
        return this.#command('next');
    }

    /** Begins the track again, or plays the previous one from its first seconds. @param {number} [position] in ms */
    previous(position = this.position) {
        return position > beginsAgainAfter ? this.seek(0) : this.#command('previous');
    }

    /** @param {number} position in ms */
    seek(position) {
        this.sought = Math.round(Math.min(Math.max(0, position), this.duration || Infinity));
        this.#emit('player');
        return this.#command('seek', this.sought);
    }

    /** A slider that is dragged asks often: while the host answers, only the last volume waits. @param {number} volume from 0 to 100 */
    async setVolume(volume) {
        const waits = this.#volume !== null;
        this.#volume = Math.round(Math.min(100, Math.max(0, volume)));
        this.#emit('player');
        if (waits) return;
        for (let sent = -1; sent !== this.#volume; ) await this.#command('volume', (sent = this.#volume));
        await this.refresh().catch(() => {});
        this.#volume = null;
        this.#emit('player');
    }

    /** @param {Repeat} repeat */
    setRepeat(repeat) {
        return this.#command('repeat', repeat);
    }

    /** @param {boolean} on */
    setShuffle(on) {
        return this.#command('shuffle', on);
    }

    /** @param {string | null} name @param {() => Promise<void>} [before] */
    setOutput(name, before) {
        return this.#command('output', name, before);
    }

    /** Reads what the host's player does now. */
    refresh() {
        return this.#state.refresh();
    }

    /** Where no output is chosen, this page becomes it. */
    async findOutput() {
        await this.refresh();
        if (this.output === null) await this.takeOutput();
    }

    /**
     * @param {string} name
     * @param {unknown} [value]
     * @param {() => Promise<void>} [before]
     */
    async #command(name, value = null, before = async () => {}) {
        try {
            await before();
            await this.#session.set(`${playerPath}/${name}`, value);
        } catch (error) {
            this.dispatchEvent(new Refused(error));
            this.refresh().catch(() => {});
        }
    }

    async #start() {
        // A host whose player cannot be read says so when it is commanded.
        await Promise.allSettled([this.#state.start(), this.#names.start()]);
    }

    async #read() {
        const [value] = await this.#session.data(playerPath, ['value']);
        const cameAt = this.#clock();
        const known = this.#outdated ? new Map() : this.#entries;
        this.#outdated = false;
        const entries = await this.#entriesOf(value, known);
        const { state } = this.#value;
        this.#value = value;
        this.#cameAt = cameAt;
        this.sought = null;
        this.#entries = entries;
        this.#emit('player');
        this.#noteFailure(value, state);
    }

    /** @param {PlayerValue} value @param {PlayState} before */
    #noteFailure({ current, failed, state }, before) {
        if (typeof failed === 'number') this.#failed.add(failed);
        else if (current !== null) this.#failed.delete(current);
        if (failed && state === 'stopped' && before === 'playing') this.#emit('givenUp');
    }

    async #readOutputs() {
        const { rows } = await this.#session.rows(outputsPath, { roles: ['path'] });
        this.outputs = rows.map(([path]) => nameOf(path));
        this.#emit('outputs');
    }

    /** The entries may have got their tags. */
    #describeAnew() {
        this.#outdated = true;
        this.refresh().catch(() => {});
    }

    /** @param {PlayerValue} value @param {Map<number, Entry>} known */
    async #entriesOf({ current, next }, known) {
        const ids = [current, next].filter((id) => id !== null);
        const entries = await Promise.all(ids.map((id) => known.get(id) ?? this.#ask(id)));
        return new Map(entries.filter((entry) => entry !== null).map((entry) => [entry.id, entry]));
    }

    /** @param {number} id @returns {Promise<Entry | null>} null if it has gone meanwhile */
    async #ask(id) {
        try {
            return entryRows.toRow(await this.#session.data(entryPath(id), entryRows.roles));
        } catch {
            return null;
        }
    }

    /** @param {number | null} id */
    #entry(id) {
        return id === null ? null : (this.#entries.get(id) ?? null);
    }

    /** @param {'player' | 'outputs' | 'givenUp'} type */
    #emit(type) {
        this.dispatchEvent(new Event(type));
    }
}
