import { element } from './dom.js';
import { isolated, text } from './language.js';

/** What a folder shows in place of rows. */

const skeletonRows = 8;

/** The outlines of rows, while the first ones are on their way. */
export function loadingNotice() {
    const rows = Array.from({ length: skeletonRows }, () =>
        element('div', { class: 'row pending' }, element('div'), element('div', { class: 'name' })),
    );
    return element('div', { class: 'skeleton', role: 'status', 'aria-label': text('loading') }, ...rows);
}

/**
 * @param {string} title
 * @param {string} message the server's words
 * @param {{ goUp: () => void, retry: () => void }} commands
 */
export function failureNotice(title, message, { goUp, retry }) {
    return element(
        'div',
        { class: 'failure' },
        element('h3', {}, title),
        element('p', { class: 'muted', dir: 'auto' }, message),
        element('div', { class: 'actions' }, button('goUp', goUp), button('retry', retry)),
    );
}

export function emptyNotice() {
    return element('p', { class: 'muted' }, text('emptyFolder'));
}

/** How to add a folder to a server that has none. */
export function noRootsNotice() {
    return element(
        'div',
        {},
        element('h3', {}, text('noRoots')),
        element('p', { class: 'muted' }, text('addRoot')),
        element('pre', { tabindex: '0' }, '[root.music]\npath = "/srv/music"'),
        element('p', { class: 'muted' }, text('thenReload')),
        element('pre', { tabindex: '0' }, 'sudo systemctl reload tavo'),
    );
}

/**
 * @param {string} filter
 * @param {() => void} clear
 */
export function noHitNotice(filter, clear) {
    return element(
        'div',
        {},
        element('p', { class: 'muted', dir: 'auto' }, text('noHit', { filter: isolated(filter) })),
        element('div', { class: 'actions' }, button('clearFilter', clear)),
    );
}

/**
 * @param {import('./language.js').Key} label
 * @param {() => void} run
 */
export function button(label, run) {
    const made = element('button', { type: 'button', class: 'second' }, text(label));
    made.addEventListener('click', run);
    return made;
}
