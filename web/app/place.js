import { queuePath, top } from './paths.js';

/** The folder that the address names in its fragment, so that it can be linked to, and left by back and forward. */

/** The path in the address, in its one form. */
export function currentPath() {
    const path = location.hash.slice(1);
    if (!path.startsWith('/') || isQueueOpen()) return top;
    const isRoot = path.indexOf('/', 1) === path.length - 1;
    return isRoot ? path : path.replace(/(?<=.)\/+$/, '');
}

/** Whether the address names the queue, which is no folder. */
export function isQueueOpen() {
    return location.hash === addressOf(queuePath);
}

/**
 * The address of a folder, for links.
 * @param {string} path
 */
export function addressOf(path) {
    return `#${path}`;
}

/**
 * Opens a folder; the one that is open adds nothing to the history.
 * @param {string} path
 */
export function go(path) {
    if (path !== currentPath()) location.hash = path;
}

/**
 * Opens a folder in place of the one in the address.
 * @param {string} path
 */
export function replacePlace(path) {
    location.replace(addressOf(path));
}
