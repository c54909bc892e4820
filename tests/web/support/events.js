import { webcrypto } from 'node:crypto';

// Browsers have it, and Node.js from version 19.
globalThis.crypto ??= /** @type {any} */ (webcrypto);

/**
 * Resolves with the first event of a type that satisfies a condition; at once if nothing but the condition is needed.
 * @param {EventTarget} target
 * @param {string} type
 * @param {(event: any) => boolean} [satisfies]
 * @returns {Promise<any>}
 */
export function next(target, type, satisfies = () => true) {
    return new Promise((resolve) => {
        const listener = (/** @type {Event} */ event) => {
            if (!satisfies(event)) return;
            target.removeEventListener(type, listener);
            resolve(event);
        };
        target.addEventListener(type, listener);
    });
}

/** A timer that runs when the test says so. */
export class ManualTimer {
    /** @type {{ run: () => void, milliseconds: number }[]} */
    waiting = [];

    start = (/** @type {() => void} */ run, /** @type {number} */ milliseconds) => {
        const entry = { run, milliseconds };
        this.waiting.push(entry);
        return entry;
    };

    stop = (/** @type {any} */ entry) => {
        this.waiting = this.waiting.filter((other) => other !== entry);
    };

    /** Runs the timer that was started first. */
    fire() {
        this.waiting.shift()?.run();
    }
}
