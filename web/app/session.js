/**
 * A client of the session protocol: JSON-RPC 2.0 over a WebSocket that is restored when it is lost.
 *
 *     const session = new Session({ connect: () => new WebSocket('wss://house.example/session') });
 *     session.start();
 *     await session.open('/file/', (change) => console.log(change));
 *     const { count, rows } = await session.rows('/file/', { last: 99 });
 */

/**
 * The part of a WebSocket that a session uses.
 * @typedef {object} Socket
 * @property {(text: string) => void} send
 * @property {() => void} close
 * @property {((event: any) => void) | null} onopen
 * @property {((event: any) => void) | null} onmessage
 * @property {((event: any) => void) | null} onclose
 */

/** @typedef {'closed' | 'connecting' | 'online' | 'lost' | 'signIn'} State */

/**
 * A change of an open path. `restored` marks the reset after a lost connection.
 * @typedef {{ path: string, changes: string[], version: number, restored?: boolean }} Change
 */
/** @typedef {(change: Change) => void} Listener */

/**
 * @typedef {object} RowsAnswer
 * @property {number} count of all rows
 * @property {number} [version] absent for a context menu
 * @property {any[][]} rows
 */

/** @typedef {{ first?: number, last?: number, version?: number, roles?: string[] }} RowsRange */

/**
 * @typedef {object} Root
 * @property {string} prefix
 * @property {string} title
 * @property {string} kind
 * @property {string} contextMenu
 * @property {Record<string, string>} [services]
 */

/** @typedef {{ protocol: number, version: string, roots: Root[], roles: string[], limits: Record<string, number> }} Description */

/** The server refused a request. */
export class SessionError extends Error {
    /** @param {{ code: number, message: string, data?: { name?: string, title?: string } }} error */
    constructor(error) {
        super(error.message);
        this.name = 'SessionError';
        this.code = error.code;
        this.data = error.data ?? {};
    }
}

/**
 * Whether the server asks to try again later: it is busy, or it cancelled the request because it stops.
 * @param {any} error
 */
export function isBusy(error) {
    return error?.code === -32002 || error?.code === -32004;
}

/**
 * Whether the answer would have had more text than the server sends at a time.
 * @param {any} error
 */
export function isTooLarge(error) {
    return error?.code === -32003;
}

/** The connection broke before a `set` was answered. Whether it was carried out is unknown. */
export class ConnectionLost extends Error {
    constructor() {
        super('connection lost');
        this.name = 'ConnectionLost';
    }
}

/**
 * @typedef {object} Pending
 * @property {string} method
 * @property {object} params
 * @property {boolean} sent
 * @property {(result: any) => void} resolve
 * @property {(error: Error) => void} reject
 */

/**
 * An open path. `id` is that of the newest request to open it; `opening` is null once that is answered.
 * @typedef {{ listeners: Set<Listener>, id: number, opening: Promise<unknown> | null }} Subscription
 */

const firstDelay = 500;
const longestDelay = 15000;
const answerWithin = 5000;

/** Emits `state` when its state changes. */
export class Session extends EventTarget {
    /** @type {() => Socket} */
    #connect;
    /** @type {() => Promise<boolean>} */
    #signInNeeded;
    #language;
    #random;
    /** @type {(run: () => void, milliseconds: number) => any} */
    #startTimer;
    /** @type {(timer: any) => void} */
    #stopTimer;

    /** @type {State} */
    #state = 'closed';
    /** @type {Socket | null} */
    #socket = null;
    /** @type {any} */
    #retry = null;
    #failures = 0;
    /** Counts the connections that were begun and the stops. */
    #attempt = 0;
    #nextId = 1;
    /** @type {Map<number, Pending>} */
    #pending = new Map();
    /** @type {Map<string, Subscription>} */
    #subscriptions = new Map();

    /**
     * @param {object} options
     * @param {() => Socket} options.connect begins a connection
     * @param {() => Promise<boolean>} [options.signInNeeded] asked after a connection that was refused
     * @param {string} [options.language] in which the server is to answer, for example `de`; without one it decides
     * @param {() => number} [options.random] as `Math.random`
     * @param {{ start: (run: () => void, milliseconds: number) => any, stop: (timer: any) => void }} [options.timer]
     */
    constructor({ connect, signInNeeded, language, random, timer }) {
        super();
        this.#connect = connect;
        this.#signInNeeded = signInNeeded ?? (async () => false);
        this.#language = language;
        this.#random = random ?? Math.random;
        this.#startTimer = timer?.start ?? ((run, milliseconds) => setTimeout(run, milliseconds));
        this.#stopTimer = timer?.stop ?? ((id) => clearTimeout(id));
    }

    get state() {
        return this.#state;
    }

    /** Connects; also after a sign-in. */
    start() {
        if (this.#socket || this.#state === 'online') return;
        this.#failures = 0;
        this.#dial();
    }

    /** Ends the connection and fails what is not answered. */
    stop() {
        this.#stopTimer(this.#retry);
        this.#attempt += 1;
        const socket = this.#socket;
        this.#socket = null;
        socket?.close();
        this.#enter('closed');
        for (const pending of this.#pending.values()) pending.reject(new ConnectionLost());
        this.#pending.clear();
        this.#subscriptions.clear();
    }

    /**
     * Tries to connect at once where a connection is lost, and finds out whether one that looks alive is: for when the
     * network comes back or somebody looks at the page again.
     */
    wake() {
        if (this.#state === 'lost' && !this.#socket) this.#dial();
        else if (this.#state === 'online') this.#check();
    }

    /**
     * Sends a request. What only reads waits for a connection and is asked again after a lost one. A `set` fails
     * instead, since it may have been carried out.
     * @param {string} method
     * @param {object} [params]
     * @param {AbortSignal} [signal]
     * @returns {Promise<any>}
     */
    request(method, params = {}, signal) {
        if (signal?.aborted) return Promise.reject(signal.reason);
        if (method === 'set' && this.#state !== 'online') return Promise.reject(new ConnectionLost());
        return this.#ask(this.#nextId++, method, params, signal);
    }

    /**
     * @param {number} id
     * @param {string} method
     * @param {object} params
     * @param {AbortSignal} [signal]
     * @returns {Promise<any>}
     */
    #ask(id, method, params, signal) {
        return new Promise((resolve, reject) => {
            const abort = () => {
                this.#pending.delete(id);
                reject(signal?.reason);
            };
            const settled = (/** @type {(outcome: any) => void} */ settle) => (/** @type {any} */ outcome) => {
                signal?.removeEventListener('abort', abort);
                settle(outcome);
            };
            this.#pending.set(id, { method, params, sent: false, resolve: settled(resolve), reject: settled(reject) });
            signal?.addEventListener('abort', abort, { once: true });
            if (this.#state === 'online') this.#send(id);
        });
    }

    /** @returns {Promise<Description>} */
    describe() {
        return this.request('describe', { language: this.#language });
    }

    /**
     * @param {string} path
     * @param {RowsRange} [range]
     * @param {AbortSignal} [signal]
     * @returns {Promise<RowsAnswer>}
     */
    rows(path, range = {}, signal) {
        return this.request('rows', { path, ...range }, signal);
    }

    /**
     * @param {string} path
     * @param {string[]} [roles]
     * @returns {Promise<any[]>}
     */
    data(path, roles) {
        return this.request('data', roles ? { path, roles } : { path });
    }

    /**
     * @param {string} path of a service
     * @param {unknown} value
     * @param {AbortSignal} [signal]
     * @returns {Promise<any>}
     */
    set(path, value, signal) {
        return this.request('set', { path, value }, signal);
    }

    /**
     * @param {string} path
     * @param {string[]} [roles]
     * @returns {Promise<RowsAnswer>}
     */
    menu(path, roles) {
        return this.request('menu', roles ? { path, roles } : { path });
    }

    /**
     * Opens a path and hears of its changes until `close`, or until a change `close` says that the path is gone. After
     * a lost connection the path is opened again, and the listener hears a reset.
     * @param {string} path
     * @param {Listener} listener
     * @returns {Promise<void>} when the server has opened the path
     */
    async open(path, listener) {
        const known = this.#subscriptions.get(path);
        if (known) {
            known.listeners.add(listener);
            await known.opening;
            return;
        }
        /** @type {Subscription} */
        const subscription = { listeners: new Set([listener]), id: 0, opening: null };
        this.#subscriptions.set(path, subscription);
        try {
            subscription.opening = this.#askToOpen(path, subscription);
            await subscription.opening;
        } catch (error) {
            if (this.#subscriptions.get(path) === subscription) this.#subscriptions.delete(path);
            throw error;
        } finally {
            subscription.opening = null;
        }
    }

    /**
     * Ends what `open` began. The last listener of a path closes it; if the server was not yet asked to open the path, it
     * never is, and `open` fails with an `AbortError`.
     * @param {string} path
     * @param {Listener} listener
     */
    close(path, listener) {
        const subscription = this.#subscriptions.get(path);
        if (!subscription?.listeners.delete(listener) || subscription.listeners.size > 0) return;
        this.#subscriptions.delete(path);
        if (this.#withdraw(subscription.id)) return;
        // A lost connection or a directory that is gone has closed the path already.
        if (this.#state === 'online') this.request('close', { path }).catch(() => {});
    }

    /**
     * @param {string} path
     * @param {Subscription} subscription
     */
    #askToOpen(path, subscription) {
        subscription.id = this.#nextId++;
        return this.#ask(subscription.id, 'open', { path });
    }

    /**
     * Drops a request that has not been sent.
     * @param {number} id
     * @returns {boolean} false if there is none
     */
    #withdraw(id) {
        const pending = this.#pending.get(id);
        if (!pending || pending.sent) return false;
        this.#pending.delete(id);
        pending.reject(new DOMException('closed before it was opened', 'AbortError'));
        return true;
    }

    #dial() {
        this.#stopTimer(this.#retry);
        this.#attempt += 1;
        if (this.#state !== 'lost') this.#enter('connecting');
        const socket = this.#connect();
        this.#socket = socket;
        let opened = false;
        socket.onopen = () => {
            opened = true;
            this.#goOnline();
        };
        socket.onmessage = (event) => this.#receive(JSON.parse(event.data));
        socket.onclose = () => {
            if (this.#socket === socket) void this.#lose(opened);
        };
    }

    #goOnline() {
        this.#failures = 0;
        const restored = [...this.#subscriptions].filter(([, subscription]) => !subscription.opening);
        // The language holds for one connection, from this request on. Nobody waits for the answer.
        if (this.#language) this.#write(this.#nextId++, 'describe', { language: this.#language });
        this.#enter('online');
        // Opened before anything else is asked, so that no change falls between an answer and its subscription.
        for (const [path, subscription] of restored) void this.#restore(path, subscription);
        for (const [id, pending] of this.#pending) if (!pending.sent) this.#send(id);
    }

    /**
     * @param {string} path
     * @param {Subscription} subscription
     */
    async #restore(path, subscription) {
        const reopening = this.#reopen(path, subscription);
        subscription.opening = reopening;
        const isOpen = await reopening;
        if (this.#subscriptions.get(path) !== subscription) return;
        subscription.opening = null;
        this.#announce({ path, changes: [isOpen ? 'reset' : 'close'], version: 0, restored: true });
    }

    /**
     * A server that is busy is asked again.
     * @param {string} path
     * @param {Subscription} subscription
     * @returns {Promise<boolean>} false if the path can no longer be open
     */
    async #reopen(path, subscription) {
        try {
            await this.#askToOpen(path, subscription);
            return true;
        } catch (error) {
            if (!isBusy(error) || this.#subscriptions.get(path) !== subscription) return false;
        }
        await new Promise((resolve) => this.#startTimer(() => resolve(undefined), this.#delay()));
        return this.#subscriptions.get(path) === subscription && this.#reopen(path, subscription);
    }

    /** @param {boolean} opened */
    async #lose(opened) {
        this.#socket = null;
        this.#failPending();
        const attempt = this.#attempt;
        const signInNeeded = !opened && (await this.#signInNeeded().catch(() => false));
        // The session may have been stopped or have begun another connection in the meantime.
        if (this.#attempt !== attempt) return;
        if (signInNeeded) {
            this.#enter('signIn');
            return;
        }
        this.#enter('lost');
        this.#retry = this.#startTimer(() => this.#dial(), this.#delay());
        this.#failures += 1;
    }

    /** Half of the delay is random, so that a thousand pages do not come back at the same time. */
    #delay() {
        const delay = Math.min(longestDelay, firstDelay * 2 ** this.#failures);
        return delay * (0.5 + this.#random() / 2);
    }

    #failPending() {
        const wanted = new Set([...this.#subscriptions.values()].map((subscription) => subscription.id));
        for (const [id, pending] of this.#pending) {
            const obsolete = pending.method === 'close' || (pending.method === 'open' && !wanted.has(id));
            if (pending.method === 'set' || obsolete) {
                this.#pending.delete(id);
                pending.reject(new ConnectionLost());
            }
            pending.sent = false;
        }
    }

    #check() {
        const socket = this.#socket;
        const timer = this.#startTimer(() => {
            if (this.#socket !== socket) return;
            socket?.close();
            void this.#lose(true);
        }, answerWithin);
        this.request('rows', { path: '/', last: -1 })
            .catch(() => {})
            .finally(() => this.#stopTimer(timer));
    }

    /** @param {number} id */
    #send(id) {
        const pending = /** @type {Pending} */ (this.#pending.get(id));
        pending.sent = true;
        this.#write(id, pending.method, pending.params);
    }

    /**
     * @param {number} id
     * @param {string} method
     * @param {object} params
     */
    #write(id, method, params) {
        this.#socket?.send(JSON.stringify({ jsonrpc: '2.0', id, method, params }));
    }

    /** @param {any} message */
    #receive(message) {
        if (message.method === 'rowsChanged') {
            this.#announce(message.params);
            return;
        }
        const pending = this.#pending.get(message.id);
        if (!pending) return;
        this.#pending.delete(message.id);
        if (message.error) pending.reject(new SessionError(message.error));
        else pending.resolve(message.result);
    }

    /** @param {Change} change */
    #announce(change) {
        const subscription = this.#subscriptions.get(change.path);
        if (!subscription) return;
        if (change.changes.includes('close')) this.#subscriptions.delete(change.path);
        for (const listener of [...subscription.listeners]) listener(change);
    }

    /** @param {State} state */
    #enter(state) {
        if (this.#state === state) return;
        this.#state = state;
        this.dispatchEvent(new Event('state'));
    }
}
