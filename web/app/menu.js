import { element } from './dom.js';

/** @typedef {{ label: string, run: () => void }} Action */

/**
 * Shows a menu at a point of the page. It closes when something is chosen, by Escape, or by a click beside it, and gives
 * the focus back.
 * @param {string} label what the actions concern
 * @param {Action[]} actions
 * @param {{ x: number, y: number }} at
 */
export function openMenu(label, actions, at) {
    const before = document.activeElement;
    const menu = element('div', { class: 'menu', role: 'menu', 'aria-label': label, popover: 'auto' });
    for (const action of actions) menu.append(itemOf(menu, action));
    menu.addEventListener('keydown', (event) => moveFocus(menu, event));
    menu.addEventListener('toggle', (event) => {
        if (/** @type {ToggleEvent} */ (event).newState !== 'closed') return;
        const held = menu.contains(document.activeElement) || document.activeElement === document.body;
        menu.remove();
        if (held && before instanceof HTMLElement) before.focus({ preventScroll: true });
    });
    document.body.append(menu);
    menu.showPopover();
    place(menu, at);
    items(menu)[0]?.focus();
}

/**
 * @param {HTMLElement} menu
 * @param {Action} action
 */
function itemOf(menu, action) {
    const item = element('button', { type: 'button', role: 'menuitem', tabindex: -1 }, action.label);
    item.addEventListener('click', () => {
        menu.hidePopover();
        action.run();
    });
    return item;
}

/**
 * @param {HTMLElement} menu
 * @returns {HTMLElement[]}
 */
function items(menu) {
    return [...menu.querySelectorAll('button')];
}

/**
 * Keeps the menu inside the page.
 * @param {HTMLElement} menu
 * @param {{ x: number, y: number }} at
 */
function place(menu, { x, y }) {
    const { width, height } = menu.getBoundingClientRect();
    menu.style.left = `${Math.max(8, Math.min(x, innerWidth - width - 8))}px`;
    menu.style.top = `${Math.max(8, Math.min(y, innerHeight - height - 8))}px`;
}

/**
 * @param {HTMLElement} menu
 * @param {KeyboardEvent} event
 */
function moveFocus(menu, event) {
    const all = items(menu);
    const at = all.indexOf(/** @type {HTMLElement} */ (document.activeElement));
    /** @type {Record<string, number>} */
    const targets = {
        ArrowDown: (at + 1) % all.length,
        ArrowUp: (at + all.length - 1) % all.length,
        Home: 0,
        End: all.length - 1,
    };
    if (event.key === 'Tab') menu.hidePopover();
    if (!(event.key in targets)) return;
    event.preventDefault();
    all[targets[event.key]].focus();
}
