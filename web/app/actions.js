import { isolated, text } from './language.js';
import { openMenu } from './menu.js';
import { PartlyAdded } from './queue.js';
import { toast } from './toast.js';

/** @typedef {import('./player.js').Player} Player */
/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./queue.js').Undo} Undo */
/** @typedef {import('./session.js').Session} Session */

/** What the queue can do with entries, by the last segment of the menu's paths. */
const queueActions = /** @type {const} */ (['playNow', 'playNext', 'addToQueue', 'replaceQueue']);

/** @param {string} path of an action */
function queueMethod(path) {
    return queueActions.find((action) => path === `/playlist/${action}`);
}

/** What can be done with entries: the queue's commands, and the menu that the server gives. */
export class Actions {
    #session;
    #queue;
    #player;

    /**
     * @param {Session} session
     * @param {Queue} queue
     * @param {Player} player
     */
    constructor(session, queue, player) {
        this.#session = session;
        this.#queue = queue;
        this.#player = player;
    }

    /** @param {string[]} paths */
    play(paths) {
        void this.#enqueue('playNow', paths);
    }

    /** @param {string[]} paths */
    add(paths) {
        void this.#enqueue('addToQueue', paths);
    }

    /**
     * @param {{ path: string, type: string }} entry whose menu it is
     * @param {string} name
     * @param {string[]} concerned the entries that the actions concern
     * @param {{ x: number, y: number }} at
     */
    async openMenu({ path, type }, name, concerned, at) {
        // The queue takes no playlist file.
        const forQueue = type !== 'playlist' || concerned.length > 1;
        try {
            const { rows } = await this.#session.menu(path, ['title', 'path', 'value']);
            const offered = rows.filter(([, action]) => forQueue || !queueMethod(action));
            const actions = offered.map(([title, action, value]) => this.#action(title, action, value, concerned));
            if (actions.length > 0) openMenu(text('menuFor', { name: isolated(name) }), actions, at);
        } catch (error) {
            report(error);
        }
    }

    /**
     * @param {string} title
     * @param {string} path of the action
     * @param {unknown} value the entry
     * @param {string[]} concerned
     */
    #action(title, path, value, concerned) {
        const method = queueMethod(path);
        if (method) return { label: text(method), run: () => this.#enqueue(method, concerned) };
        return { label: title, run: () => this.#session.set(path, value).catch(report) };
    }

    /**
     * @param {typeof queueActions[number]} method
     * @param {string[]} paths
     */
    async #enqueue(method, paths) {
        if (this.#queue.missing) return toast(text('noQueue'));
        const heard = method === 'playNow' || method === 'replaceQueue';
        const { count } = this.#queue;
        try {
            if (heard) await this.#player.findOutput();
            const added = await this.#queue[method](paths);
            if (!heard) sayWithUndo(this.#queue, text('added', { count: added.added }), added.undo);
            else if (added.undo.removal !== undefined && count > 0) offerUndo(this.#queue, count, added.undo);
        } catch (error) {
            if (error instanceof PartlyAdded) sayWithUndo(this.#queue, partlyAdded(error), error.done.undo);
            else report(error);
        }
    }
}

/**
 * Says that entries left the queue, and offers to bring them back.
 * @param {Queue} queue
 * @param {number} count
 * @param {Undo} undo
 */
export function offerUndo(queue, count, undo) {
    sayWithUndo(queue, text('removedCount', { count }), undo);
}

/**
 * @param {Queue} queue
 * @param {string} message
 * @param {Undo} undo
 */
function sayWithUndo(queue, message, undo) {
    toast(message, { label: text('undo'), run: () => void queue.undo(undo).catch(report) });
}

/** @param {PartlyAdded} error */
function partlyAdded({ cause, done }) {
    return text('partlyAdded', { count: done.added, problem: problemOf(cause) });
}

/**
 * Says what did not work; what was given up on purpose is no failure.
 * @param {any} error
 */
export function report(error) {
    if (error?.name !== 'AbortError') toast(problemOf(error));
}

/** @param {any} error */
function problemOf(error) {
    if (error?.name === 'ConnectionLost') return text('connectionLost');
    if (error?.data?.name === 'conflict') return text('conflict');
    return error?.message ?? text('failed');
}
