import { element } from './dom.js';

/** An action, or one of several choices. @typedef {{ label: string, run: () => void, checked?: boolean }} Action */

/**
 * Shows a menu at a point of the page. It closes when something is chosen, by Escape, or when the focus leaves it, and
 * gives the focus back.
 * @param {string} label what the actions concern
 * @param {Action[]} actions
 * @param {{ x: number, y: number }} at
 */
export function openMenu(label, actions, at) {
    const before = document.activeElement ?? document.body;
    const menu = element('div', { class: 'menu', role: 'menu', 'aria-label': label, popover: 'manual' });
    const close = () => {
        if (menu.contains(document.activeElement) && before instanceof HTMLElement) before.focus({ preventScroll: true });
        menu.remove();
    };
    for (const action of actions) menu.append(itemOf(action, close));
    menu.addEventListener('keydown', (event) => handleKey(menu, event, close));
    menu.addEventListener('focusout', (event) => {
        if (!menu.contains(/** @type {Node | null} */ (event.relatedTarget))) close();
    });
    const area = before.closest('main, dialog, section') ?? document.body;
    area.append(menu);
    menu.showPopover();
    place(menu, at);
    const [first] = items(menu);
    (items(menu)[actions.findIndex((action) => action.checked)] ?? first).focus({ preventScroll: true });
}

/**
 * @param {Action} action
 * @param {() => void} close
 */
function itemOf(action, close) {
    const isChoice = action.checked !== undefined;
    const state = isChoice ? { role: 'menuitemradio', 'aria-checked': String(action.checked) } : { role: 'menuitem' };
    const item = element('button', { type: 'button', tabindex: -1, dir: 'auto', ...state }, action.label);
    item.addEventListener('click', () => {
        close();
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
 * @param {() => void} close
 */
function handleKey(menu, event, close) {
    const all = items(menu);
    const at = all.indexOf(/** @type {HTMLElement} */ (document.activeElement));
    /** @type {Record<string, number>} */
    const targets = {
        ArrowDown: (at + 1) % all.length,
        ArrowUp: (at + all.length - 1) % all.length,
        Home: 0,
        End: all.length - 1,
    };
    event.stopPropagation();
    if (event.key in targets) all[targets[event.key]].focus();
    else if (event.key === 'Escape' || event.key === 'Tab') close();
    else return;
    event.preventDefault();
}
