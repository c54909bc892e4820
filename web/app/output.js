/**
 * The loudspeaker: this page as one of the outputs that the host's player can play on. Two audio elements take turns: one
 * is heard, and the other loads what follows, so that the next track begins when the last one ends.
 *
 * Emits `progress` when position, length or buffered parts change, and `trouble` (a Trouble) when something is not heard.
 */

import { Deck } from './deck.js';
import { outputsPath, playerPath } from './player.js';
import { uniqueText } from './unique.js';

/** @typedef {import('./entries.js').Entry} Entry */
/** @typedef {import('./player.js').Player} Player */
/** @typedef {import('./session.js').Session} Session */
/** @typedef {'gone' | 'format' | 'unreachable' | 'blocked'} Reason */
/** @typedef {'playing' | 'paused' | 'ended' | 'error'} Report */

/** A playing element begins to sound so many ms after it is asked to. */
const startingTime = 8;

/** From so many ms before the end the next track's start is timed. */
const timedFrom = 1500;

/** An element that has handed over falls silent so many ms later, wherever its track ends. */
const tail = 250;

/** The next track is loaded when the current one is, or so many ms before its end. */
const loadedAhead = 30000;

const reportEvery = 10000;

/** A stream that broke is retried after so many ms, once at each place. */
const retryAfter = 1000;

/** Positions, in ms, that differ by less are the same. */
const samePosition = 200;

/** Why an entry is not heard. */
export class Trouble extends Event {
    /** @param {Entry} entry @param {Reason} reason */
    constructor(entry, reason) {
        super('trouble');
        this.entry = entry;
        this.reason = reason;
    }
}

export class Output extends EventTarget {
    #session;
    #player;

    /** The element that is heard, and the one that waits. */
    #front;
    #back;

    /** @type {Promise<void> | null} */
    #offer = null;

    #wasActive = false;

    /** What was obeyed last. */
    #obeyed = { serial: 0, state: 'stopped', position: 0, at: 0 };

    /** It plays the next entry already, and the host has not heard of it: the serial of then. @type {number | null} */
    #aheadSince = null;

    /** Where the stream broke that was retried last. @type {{ id: number, position: number } | null} */
    #broken = null;

    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #handover;
    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #silence;
    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #retry;
    /** @type {ReturnType<typeof setInterval> | undefined} */
    #reports;

    /**
     * @param {Session} session
     * @param {Player} player
     * @param {[HTMLAudioElement, HTMLAudioElement]} elements in the document, where the system finds them
     * @param {string} name of the output for people; what makes it differ from others is added
     */
    constructor(session, player, [one, other], name) {
        super();
        this.#session = session;
        this.#player = player;
        this.name = `${name} ${uniqueText(4)}`;
        this.#front = new Deck(one);
        this.#back = new Deck(other);
        for (const deck of [this.#front, this.#back]) this.#watch(deck);
        player.takeOutput = () => this.take();
        player.addEventListener('player', () => this.#follow());
        session.addEventListener('state', () => this.#reconnected());
    }

    /** Whether the player plays here. */
    get active() {
        return this.#player.output === this.name;
    }

    /** In ms. */
    get position() {
        return this.#front.position;
    }

    /** In ms, 0 as long as nobody knows it. */
    get duration() {
        return this.#front.duration;
    }

    /** The parts that can be heard without waiting, from and to in ms. */
    get buffered() {
        return this.#front.buffered;
    }

    /** Whether it is to play and waits for sound. */
    get waiting() {
        return this.active && this.#plays && this.#front.audio.readyState < HTMLMediaElement.HAVE_FUTURE_DATA;
    }

    /** Offers the page to everybody's player; called in a gesture, without which browsers allow no sound. */
    offer() {
        for (const deck of [this.#front, this.#back]) deck.unlock();
        this.#offer ??= this.#session.open(this.#path, this.#heard).catch((error) => {
            this.#offer = null;
            throw error;
        });
        return this.#offer;
    }

    /** Makes the page the output that plays. */
    async take() {
        await this.offer();
        await this.#session.set(`${playerPath}/output`, this.name);
    }

    get #path() {
        return `${outputsPath}/${encodeURIComponent(this.name)}`;
    }

    get #plays() {
        return this.#player.state === 'playing';
    }

    /** @type {import('./session.js').Listener} */
    #heard = ({ changes }) => {
        if (changes.includes('close')) this.#offer = null;
    };

    // Obeying

    #follow() {
        if (this.active) this.#obey();
        else if (this.#wasActive) this.#fallSilent();
        this.#wasActive = this.active;
        this.#progress();
    }

    #fallSilent() {
        this.#settle();
        clearInterval(this.#reports);
        this.#reports = undefined;
        this.#aheadSince = null;
        this.#front.unload();
        this.#back.unload();
    }

    #obey() {
        const { current, state } = this.#player;
        const over = this.#front.audio.ended;
        const moved = current !== null && this.#moveTo(current);
        if (!current) this.#fallSilent();
        this.#remember();
        this.#setVolume();
        // What is over would begin again; the host says what follows.
        if (!this.#plays) this.#hold();
        else if (current && (moved || !over)) void this.#sound();
        if (state === 'stopped') this.#front.rewind();
        this.#time();
        this.#loadAhead();
    }

    /** @param {Entry} current @returns {boolean} whether it plays from another place now */
    #moveTo(current) {
        if (this.#player.serial === this.#aheadSince) return false;
        this.#aheadSince = null;
        if (!this.#wasActive || !this.#holds(current)) return this.#begin(current, this.#player.position);
        if (!this.#jumped()) return false;
        this.#front.position = this.#player.position;
        return true;
    }

    /** Also if the stream is broken, until the next command. @param {Entry} current */
    #holds(current) {
        const { entry, audio } = this.#front;
        return entry?.id === current.id && (!audio.error || this.#player.serial === this.#obeyed.serial);
    }

    /** Whether a command has moved the position, rather than time. */
    #jumped() {
        const { mark, serial } = this.#player;
        const before = this.#obeyed;
        if (serial === before.serial) return false;
        const passed = before.state === 'playing' ? mark.at - before.at : 0;
        const commanded = Math.abs(mark.position - before.position - passed) > samePosition / 4;
        return commanded && Math.abs(this.#player.position - this.position) > samePosition;
    }

    #remember() {
        const { serial, state, mark } = this.#player;
        this.#obeyed = { serial, state, ...mark };
    }

    /** @param {Entry} entry @param {number} position in ms @returns {true} */
    #begin(entry, position) {
        this.#settle();
        this.#broken = null;
        this.#front.pause();
        if (!this.#front.holds(entry.id) && this.#back.holds(entry.id)) this.#swap();
        if (!this.#front.holds(entry.id)) this.#front.load(entry, position);
        else if (Math.abs(this.position - position) > samePosition) this.#front.position = position;
        return true;
    }

    /** Ends what belongs to the track before. */
    #settle() {
        clearTimeout(this.#handover);
        clearTimeout(this.#retry);
        if (this.#silence !== undefined) this.#hush();
    }

    #swap() {
        [this.#front, this.#back] = [this.#back, this.#front];
    }

    async #sound() {
        const { audio, entry, pausedFromOutside } = this.#front;
        if (pausedFromOutside) return this.#pauseToo();
        this.#reports ??= setInterval(() => void this.#report('playing'), reportEvery);
        try {
            if (audio.paused) await this.#front.play();
        } catch (error) {
            // Other errors reach the element, too.
            if (/** @type {Error} */ (error).name !== 'NotAllowedError' || !entry) return;
            void this.#player.pause();
            this.dispatchEvent(new Trouble(entry, 'blocked'));
        }
    }

    #hold() {
        const sounded = !this.#front.audio.paused;
        clearInterval(this.#reports);
        this.#reports = undefined;
        this.#front.pause();
        if (sounded && this.#player.state === 'paused') void this.#report('paused');
    }

    #setVolume() {
        // The ear hears loudness in powers: the square makes the slider's middle sound like half.
        for (const { audio } of [this.#front, this.#back]) audio.volume = (this.#player.volume / 100) ** 2;
    }

    // Reporting

    /** @param {Report} state @param {{ error?: string }} [more] */
    async #report(state, more = {}) {
        const { entry, position, duration } = this.#front;
        if (!entry || !this.active || this.#session.state !== 'online') return;
        const times = { position: Math.round(position), duration: Math.round(duration) };
        const report = { id: entry.id, state, ...times, serial: this.#obeyed.serial, ...more };
        // A report that is refused comes from an output that is no longer the active one.
        await this.#session.set(`${this.#path}/report`, report).catch(() => {});
    }

    /** Tells the host that the next entry plays, and goes on with what the host says then. */
    async #tellAhead() {
        await this.#report('playing');
        if (this.#session.state !== 'online') return;
        await this.#player.refresh().catch(() => {});
        this.#aheadSince = null;
        this.#follow();
    }

    /** The host has missed what happened while it was away. */
    #reconnected() {
        if (this.#session.state !== 'online') return;
        this.#reload();
        if (this.#aheadSince !== null) void this.#tellAhead();
    }

    // From one track to the next

    #loadAhead() {
        const { following } = this.#player;
        if (this.#silence !== undefined || this.#aheadSince !== null) return;
        if (!following) this.#back.unload();
        else if (this.#back.entry?.id === following.id) return;
        else if (this.#front.loaded || this.#front.remaining < loadedAhead) this.#back.load(following, 0);
        else this.#back.unload();
    }

    /** Wakes up shortly before the end of the track. */
    #time() {
        clearTimeout(this.#handover);
        const { remaining, audio } = this.#front;
        if (!this.active || !this.#plays || audio.paused || !Number.isFinite(audio.duration)) return;
        if (remaining < timedFrom) this.#handover = setTimeout(() => this.#nearEnd(), remaining - startingTime);
    }

    #nearEnd() {
        // The clock of the sound and that of the timer differ: look again rather than cut the end off.
        if (this.#front.remaining > startingTime + 4) this.#time();
        else this.#handOver();
    }

    /** The waiting element begins while the other one sounds out. @returns {boolean} false if it is not ready */
    #handOver() {
        const { current, following } = this.#player;
        const isCurrent = current?.id === this.#front.entry?.id;
        if (!isCurrent || !following || !this.#back.holds(following.id) || !this.#back.ready) return false;
        this.#swap();
        this.#aheadSince = this.#obeyed.serial;
        void this.#sound();
        this.#silence = setTimeout(() => this.#hush(), tail);
        void this.#tellAhead();
        return true;
    }

    /** The element that has handed over can load again. */
    #hush() {
        clearTimeout(this.#silence);
        this.#silence = undefined;
        this.#back.pause();
        this.#back.rewind();
        this.#loadAhead();
    }

    // What the elements report

    /** @param {Deck} deck */
    #watch(deck) {
        /** @param {string[]} types @param {() => void} react */
        const on = (types, react) => {
            for (const type of types) deck.audio.addEventListener(type, () => deck === this.#front && this.active && react());
        };
        on(['playing'], () => void this.#report('playing'));
        on(['ended'], () => this.#ended());
        on(['error'], () => void this.#failed());
        on(['pause'], () => this.#pauseToo());
        on(['timeupdate', 'seeked', 'playing', 'durationchange'], () => this.#time());
        on(['timeupdate', 'seeked', 'progress', 'canplay', 'waiting', 'durationchange'], () => {
            this.#loadAhead();
            this.#progress();
        });
    }

    #ended() {
        if (!this.#handOver()) void this.#report('ended');
    }

    /** Pauses everybody's player where somebody else paused the element. */
    #pauseToo() {
        if (this.#plays && this.#front.pausedFromOutside) void this.#player.pause();
    }

    async #failed() {
        const { entry, audio, position } = this.#front;
        // While the host is away it is waited for.
        if (!entry || !audio.error || this.#session.state !== 'online') return;
        const reason = await whyUnplayable(entry.uri);
        if (this.#front.entry !== entry || !audio.error || !this.active) return;
        const retried = this.#broken?.id === entry.id && Math.abs(this.#broken.position - position) < samePosition;
        if (reason === 'gone' || retried) return this.#giveUp(entry, reason);
        this.#broken = { id: entry.id, position };
        clearTimeout(this.#retry);
        this.#retry = setTimeout(() => this.#reload(), retryAfter);
    }

    /** @param {Entry} entry @param {Reason} reason */
    #giveUp(entry, reason) {
        this.#broken = null;
        void this.#report('error', { error: reason });
        this.dispatchEvent(new Trouble(entry, reason));
    }

    /** Loads a stream that broke again, at the place where it broke. */
    #reload() {
        const { entry, audio, position } = this.#front;
        if (!entry || !audio.error || !this.active) return;
        clearTimeout(this.#retry);
        this.#front.load(entry, position);
        if (this.#plays) void this.#sound();
    }

    #progress() {
        this.dispatchEvent(new Event('progress'));
    }
}

/**
 * Why an address gives no sound.
 * @param {string} uri
 * @returns {Promise<Reason>}
 */
async function whyUnplayable(uri) {
    try {
        const { ok, status } = await fetch(uri, { method: 'HEAD', cache: 'no-store' });
        if (ok) return 'format';
        return status === 401 || status === 429 || status >= 500 ? 'unreachable' : 'gone';
    } catch {
        return 'unreachable';
    }
}
