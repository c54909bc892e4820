import { element, setAttribute } from './dom.js';
import { icon } from './icons.js';
import { text } from './language.js';

/** @typedef {'folder' | 'queue' | 'playing'} View */

const views = /** @type {const} */ ([
    ['folder', 'folder', 'folders'],
    ['queue', 'list', 'queue'],
    ['playing', 'playing', 'nowPlaying'],
]);

/**
 * The tabs at the foot of a narrow page, which has room for one area only.
 * @param {(view: View) => void} show
 */
export function tabBar(show) {
    const bar = element('nav', { class: 'tabs', 'aria-label': text('areas') });
    for (const [view, iconName, label] of views) {
        const tab = element('button', { type: 'button', 'data-view': view }, text(label));
        tab.prepend(icon(iconName));
        tab.addEventListener('click', () => show(view));
        bar.append(tab);
    }
    return bar;
}

/**
 * Marks the tab of the area that is shown.
 * @param {HTMLElement} bar
 * @param {View} view
 */
export function markTab(bar, view) {
    for (const tab of bar.children) setAttribute(tab, 'aria-current', tab.getAttribute('data-view') === view ? 'page' : null);
}
