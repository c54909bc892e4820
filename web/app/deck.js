/** @typedef {import('./entries.js').Entry} Entry */

/** An audio element and the entry that it holds. */
export class Deck {
    /** @type {Entry | null} */
    entry = null;

    /** Whether the page wants it to sound, whatever the element does. */
    #wanted = false;

    /** @param {HTMLAudioElement} audio */
    constructor(audio) {
        this.audio = audio;
        audio.preload = 'auto';
    }

    get ready() {
        return this.entry !== null && !this.audio.error && this.audio.readyState >= HTMLMediaElement.HAVE_FUTURE_DATA;
    }

    /** In ms. */
    get position() {
        return this.audio.currentTime * 1000;
    }

    set position(position) {
        // An end pauses the element, and nobody wants what is over to sound.
        if (this.audio.ended) this.#wanted = false;
        this.audio.currentTime = position / 1000;
    }

    /** In ms; that of the file counts as soon as it is known. */
    get duration() {
        return Number.isFinite(this.audio.duration) ? this.audio.duration * 1000 : (this.entry?.duration ?? 0);
    }

    get remaining() {
        return this.duration - this.position;
    }

    get loaded() {
        const { buffered, duration } = this.audio;
        return buffered.length > 0 && buffered.end(buffered.length - 1) >= duration - 0.5;
    }

    /** The parts that can be heard without waiting, from and to in ms. @returns {[number, number][]} */
    get buffered() {
        const { buffered } = this.audio;
        return Array.from({ length: buffered.length }, (_, part) => [buffered.start(part) * 1000, buffered.end(part) * 1000]);
    }

    /** Whether somebody else paused it: pulled headphones, the system or another program. */
    get pausedFromOutside() {
        return this.#wanted && this.audio.paused && !this.audio.ended && !this.audio.error;
    }

    /** Fails with a NotAllowedError where the browser wants a gesture first. */
    async play() {
        this.#wanted = true;
        try {
            await this.audio.play();
        } catch (error) {
            if (/** @type {Error} */ (error).name === 'NotAllowedError') this.#wanted = false;
            throw error;
        }
    }

    pause() {
        this.#wanted = false;
        this.audio.pause();
    }

    /** @param {number} id */
    holds(id) {
        return this.entry?.id === id && !this.audio.error;
    }

    /** @param {Entry} entry @param {number} position in ms */
    load(entry, position) {
        this.entry = entry;
        this.#wanted = false;
        this.audio.src = entry.uri;
        if (position > 0) this.position = position;
    }

    unload() {
        if (!this.entry) return;
        this.entry = null;
        this.pause();
        this.audio.removeAttribute('src');
        this.audio.load();
    }

    rewind() {
        if (this.position > 0) this.position = 0;
    }

    /** Allows sound, in a gesture, where a browser allows it an element at a time. */
    unlock() {
        if (!this.entry) this.audio.load();
    }
}
