/**
 * Plays what the queue commands. Two audio elements take turns: one is heard, and the other loads what follows, so that
 * the next track begins when the last one ends.
 *
 * Emits `progress` when position, length, buffered parts or volume change, and `trouble` (a Trouble) when something
 * cannot be played.
 */

/** @typedef {import('./queuestate.js').Entry} Entry */
/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {'gone' | 'format' | 'blocked' | 'givenUp'} Reason */

/** A playing element begins to sound so many ms after it is asked to. */
const startingTime = 8;

/** From so many ms before the end the next track's start is timed. */
const timedFrom = 1500;

/** An element that has handed over falls silent so many ms later, wherever its track ends. */
const tail = 250;

/** The next track is loaded when the current one is, or so many ms before its end. */
const loadedAhead = 30000;

const firstRetry = 1000;
const longestRetry = 15000;
const volumeKey = 'tavo.volume';

/** Why an entry is not heard. */
export class Trouble extends Event {
    /** @param {Entry} entry @param {Reason} reason */
    constructor(entry, reason) {
        super('trouble');
        this.entry = entry;
        this.reason = reason;
    }
}

/** One of the two audio elements and what it holds. */
class Deck {
    /** @type {Entry | null} */
    entry = null;

    /** @param {HTMLAudioElement} audio */
    constructor(audio) {
        this.audio = audio;
        audio.preload = 'auto';
    }

    get ready() {
        return this.entry !== null && !this.audio.error && this.audio.readyState >= HTMLMediaElement.HAVE_FUTURE_DATA;
    }

    /** In ms; that of the file counts as soon as it is known. */
    get duration() {
        return Number.isFinite(this.audio.duration) ? this.audio.duration * 1000 : (this.entry?.duration ?? 0);
    }

    get remaining() {
        return this.duration - this.audio.currentTime * 1000;
    }

    get loaded() {
        const { buffered, duration } = this.audio;
        return buffered.length > 0 && buffered.end(buffered.length - 1) >= duration - 0.5;
    }

    /** @param {number} id */
    holds(id) {
        return this.entry?.id === id && !this.audio.error;
    }

    /** @param {Entry} entry @param {number} [position] in ms */
    load(entry, position = 0) {
        this.entry = entry;
        this.audio.src = entry.uri;
        if (position > 0) this.audio.currentTime = position / 1000;
    }

    unload() {
        if (!this.entry) return;
        this.entry = null;
        this.audio.pause();
        this.audio.removeAttribute('src');
        this.audio.load();
    }

    rewind() {
        if (this.audio.currentTime > 0) this.audio.currentTime = 0;
    }
}

export class Player extends EventTarget {
    #queue;

    /** The element that is heard, and the one that waits. */
    #front;
    #back;

    #starts = 0;
    #retries = 0;
    #volume = storedVolume();
    #muted = false;

    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #handover;
    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #silence;
    /** @type {ReturnType<typeof setTimeout> | undefined} */
    #retry;

    /**
     * @param {Queue} queue
     * @param {[HTMLAudioElement, HTMLAudioElement]} elements in the document, where the system finds them
     */
    constructor(queue, [one, other]) {
        super();
        this.#queue = queue;
        this.#front = new Deck(one);
        this.#back = new Deck(other);
        for (const deck of [this.#front, this.#back]) this.#watch(deck);
        this.#setVolume();
        queue.addEventListener('player', () => this.#follow());
        window.addEventListener('online', () => this.#reload());
    }

    /** In ms. */
    get position() {
        return this.#front.audio.currentTime * 1000;
    }

    /** In ms, 0 as long as nobody knows it. */
    get duration() {
        return this.#front.duration;
    }

    /** The parts that can be heard without waiting, from and to in ms. @returns {[number, number][]} */
    get buffered() {
        const { buffered } = this.#front.audio;
        return Array.from({ length: buffered.length }, (_, part) => [buffered.start(part) * 1000, buffered.end(part) * 1000]);
    }

    /** Whether it is to play and waits for sound. */
    get waiting() {
        return this.#queue.state === 'playing' && this.#front.audio.readyState < HTMLMediaElement.HAVE_FUTURE_DATA;
    }

    /** From 0 to 100. */
    get volume() {
        return this.#volume;
    }

    set volume(volume) {
        this.#volume = Math.min(100, Math.max(0, volume));
        this.#muted = false;
        this.#setVolume();
        storeVolume(this.#volume);
    }

    get muted() {
        return this.#muted;
    }

    set muted(muted) {
        this.#muted = muted;
        this.#setVolume();
    }

    toggle() {
        if (this.#queue.state === 'playing') this.#queue.pause();
        else this.#queue.play();
    }

    /** Begins the track again, or goes to the previous one from its first seconds. */
    previous() {
        if (this.position > 3000) this.seek(0);
        else this.#queue.previous();
    }

    /** @param {number} position in ms */
    seek(position) {
        if (!this.#front.entry) return;
        this.#front.audio.currentTime = Math.min(Math.max(0, position), this.duration || Infinity) / 1000;
        this.#time();
        this.#progress();
    }

    // What the queue commands

    #follow() {
        const { current, state, starts } = this.#queue;
        if (!current) {
            this.#empty();
        } else if (starts !== this.#starts || this.#front.entry?.id !== current.id) {
            this.#starts = starts;
            this.#begin(current);
        }
        if (state === 'playing') void this.#sound();
        else this.#front.audio.pause();
        if (state === 'stopped') this.#front.rewind();
        this.#time();
        this.#loadAhead();
        this.#progress();
    }

    #empty() {
        this.#settle();
        this.#front.unload();
        this.#back.unload();
    }

    /** @param {Entry} entry */
    #begin(entry) {
        this.#settle();
        this.#front.audio.pause();
        if (!this.#front.holds(entry.id) && this.#back.holds(entry.id)) this.#swap();
        if (this.#front.holds(entry.id)) this.#front.rewind();
        else this.#front.load(entry);
    }

    /** Ends what belongs to the track before. */
    #settle() {
        clearTimeout(this.#handover);
        clearTimeout(this.#retry);
        this.#retries = 0;
        if (this.#silence !== undefined) this.#hush();
    }

    #swap() {
        [this.#front, this.#back] = [this.#back, this.#front];
    }

    async #sound() {
        const { audio, entry } = this.#front;
        try {
            if (audio.paused) await audio.play();
        } catch (error) {
            // Other errors reach the element, too.
            if (/** @type {Error} */ (error).name !== 'NotAllowedError' || !entry) return;
            this.#queue.pause();
            this.dispatchEvent(new Trouble(entry, 'blocked'));
        }
    }

    // From one track to the next

    #loadAhead() {
        const { following } = this.#queue;
        if (this.#silence !== undefined) return;
        if (!following) this.#back.unload();
        else if (this.#back.entry?.id === following.id) return;
        else if (this.#front.loaded || this.#front.remaining < loadedAhead) this.#back.load(following);
        else this.#back.unload();
    }

    /** Wakes up shortly before the end of the track. */
    #time() {
        clearTimeout(this.#handover);
        const { remaining, audio } = this.#front;
        if (this.#queue.state !== 'playing' || audio.paused || !Number.isFinite(audio.duration)) return;
        if (remaining < timedFrom) this.#handover = setTimeout(() => this.#nearEnd(), remaining - startingTime);
    }

    #nearEnd() {
        // The clock of the sound and that of the timer differ: look again rather than cut the end off.
        if (this.#front.remaining > startingTime + 4) this.#time();
        else this.#handOver();
    }

    /** The waiting element begins while the other one sounds out. */
    #handOver() {
        const ended = this.#front;
        const { following } = this.#queue;
        if (!ended.entry || !following || !this.#back.holds(following.id) || !this.#back.ready) return;
        this.#swap();
        void this.#sound();
        this.#silence = setTimeout(() => this.#hush(), tail);
        this.#queue.ended(ended.entry.id);
    }

    /** The element that has handed over can load again. */
    #hush() {
        clearTimeout(this.#silence);
        this.#silence = undefined;
        this.#back.audio.pause();
        this.#back.rewind();
        this.#loadAhead();
    }

    /** @param {Deck} deck */
    #ended(deck) {
        if (deck !== this.#front) return;
        this.#handOver();
        // Without a successor that is ready, the queue's next entry is loaded now.
        if (deck === this.#front && deck.entry) this.#queue.ended(deck.entry.id);
    }

    // What the elements report

    /** @param {Deck} deck */
    #watch(deck) {
        /** @param {string[]} types @param {() => void} react */
        const on = (types, react) => types.forEach((type) => deck.audio.addEventListener(type, react));
        on(['playing'], () => this.#heard(deck));
        on(['ended'], () => this.#ended(deck));
        on(['error'], () => void this.#failed(deck));
        on(['pause'], () => this.#pausedFromOutside(deck));
        on(['timeupdate', 'seeked', 'playing', 'durationchange'], () => deck === this.#front && this.#time());
        on(['timeupdate', 'seeked', 'progress', 'canplay', 'waiting', 'durationchange'], () => {
            if (deck !== this.#front) return;
            this.#loadAhead();
            this.#progress();
        });
    }

    /** @param {Deck} deck */
    #heard(deck) {
        if (deck !== this.#front || !deck.entry) return;
        this.#retries = 0;
        this.#queue.started(deck.entry.id);
        if (deck.entry.duration === 0 && deck.duration > 0) this.#queue.measured(deck.entry.id, deck.duration);
    }

    /** Headphones that are pulled out, or another program, pause the element itself. @param {Deck} deck */
    #pausedFromOutside(deck) {
        const { audio } = deck;
        if (deck === this.#front && audio.paused && !audio.ended && !audio.error && deck.ready) this.#queue.pause();
    }

    /** @param {Deck} deck */
    async #failed(deck) {
        const { entry, audio } = deck;
        if (deck !== this.#front || !entry || !audio.error) return;
        const position = audio.currentTime * 1000;
        const reason = await whyUnplayable(entry.uri);
        if (deck !== this.#front || deck.entry !== entry || !audio.error) return;
        if (reason === null) this.#retryLater(position);
        // The host may have come back between the failure and the question.
        else if (reason === 'format' && this.#retries++ === 0) this.#reload(position);
        else this.#giveUp(entry, reason);
    }

    /** @param {Entry} entry @param {Reason} reason */
    #giveUp(entry, reason) {
        const { state } = this.#queue;
        this.#queue.failed(entry.id);
        const over = state === 'playing' && this.#queue.state === 'stopped' && this.#queue.current?.failed;
        this.dispatchEvent(new Trouble(entry, over && this.#queue.entries.length > 1 ? 'givenUp' : reason));
    }

    /** @param {number} position in ms */
    #retryLater(position) {
        const delay = Math.min(longestRetry, firstRetry * 2 ** this.#retries++);
        clearTimeout(this.#retry);
        this.#retry = setTimeout(() => this.#reload(position), delay);
    }

    /** @param {number} [position] in ms */
    #reload(position = this.position) {
        const { entry, audio } = this.#front;
        if (!entry || !audio.error) return;
        clearTimeout(this.#retry);
        this.#front.load(entry, position);
        if (this.#queue.state === 'playing') void this.#sound();
    }

    #setVolume() {
        // The ear hears loudness in powers: the square makes the slider's middle sound like half.
        for (const { audio } of [this.#front, this.#back]) {
            audio.volume = (this.#volume / 100) ** 2;
            audio.muted = this.#muted;
        }
        this.#progress();
    }

    #progress() {
        this.dispatchEvent(new Event('progress'));
    }
}

/**
 * Why an address gives no sound. Null if the host cannot be reached, is busy, or wants a sign-in: that passes.
 * @param {string} uri
 * @returns {Promise<Reason | null>}
 */
async function whyUnplayable(uri) {
    try {
        const { ok, status } = await fetch(uri, { method: 'HEAD', cache: 'no-store' });
        if (ok) return 'format';
        return status === 401 || status === 429 || status >= 500 ? null : 'gone';
    } catch {
        return null;
    }
}

function storedVolume() {
    try {
        const stored = localStorage.getItem(volumeKey);
        return stored === null ? 100 : Math.min(100, Math.max(0, Number(stored) || 0));
    } catch {
        return 100;
    }
}

/** @param {number} volume */
function storeVolume(volume) {
    try {
        localStorage.setItem(volumeKey, String(volume));
    } catch {
        // A browser that stores nothing begins at full volume again.
    }
}
