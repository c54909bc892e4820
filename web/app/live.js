/** @typedef {import('./session.js').Session} Session */
/** @typedef {import('./session.js').Change} Change */

/** Follows a path: reads at the start and after each change, one reading at a time. */
export class Live {
    #session;
    #path;
    #read;
    #open = false;
    #stale = false;

    /** @type {Promise<void> | null} */
    #reading = null;

    /**
     * @param {Session} session
     * @param {string} path
     * @param {() => Promise<void>} read
     */
    constructor(session, path, read) {
        this.#session = session;
        this.#path = path;
        this.#read = read;
    }

    /** Opens the path, if it is not open, and reads. */
    async start() {
        if (!this.#open) {
            this.#open = true;
            try {
                await this.#session.open(this.#path, this.#heard);
            } catch (error) {
                this.#open = false;
                throw error;
            }
        }
        await this.refresh();
    }

    /** Reads again; what changes while something is being read is read afterwards. */
    refresh() {
        this.#stale = true;
        this.#reading ??= this.#readUntilCurrent().finally(() => (this.#reading = null));
        return this.#reading;
    }

    async #readUntilCurrent() {
        while (this.#stale) {
            this.#stale = false;
            await this.#read();
        }
    }

    /** @type {(change: Change) => void} */
    #heard = (change) => {
        if (change.changes.includes('close')) this.#open = false;
        // A path that cannot be read now is read after its next change.
        else this.refresh().catch(() => {});
    };
}
