import { element } from './dom.js';

const visibleFor = 6000;

/** There from the start: screen readers announce what comes into an element that they know. */
const messages = element('div', { class: 'toasts', role: 'status', 'aria-live': 'polite' });
document.body.append(messages);

/**
 * Shows a message at the foot of the page for some seconds, or until it is clicked. Screen readers announce it.
 * @param {string} message
 * @param {{ label: string, run: () => void }} [action] a button beside the message
 */
export function toast(message, action) {
    const note = element('div', { class: 'toast', dir: 'auto' }, message);
    if (action) note.append(actionButton(action, note));
    region().append(note);
    note.addEventListener('click', () => note.remove());
    setTimeout(() => note.remove(), visibleFor);
}

/**
 * @param {{ label: string, run: () => void }} action
 * @param {HTMLElement} note
 */
function actionButton(action, note) {
    const button = element('button', { type: 'button' }, action.label);
    button.addEventListener('click', () => {
        note.remove();
        action.run();
    });
    return button;
}

/** A dialog in front covers the page and silences it, so that messages belong into the dialog. */
function region() {
    const home = document.querySelector('dialog:modal') ?? document.body;
    if (messages.parentElement !== home) home.append(messages);
    return messages;
}
