import { element } from './dom.js';
import { text } from './language.js';

/** @returns {[string[], string][]} keys and what they do */
function keys() {
    return [
        [['↑', '↓'], text('keyMove')],
        [['Home', 'End'], text('keyEnds')],
        [['Enter'], text('keyOpen')],
        [['Backspace'], text('keyUp')],
        [['Space'], text('keySelect')],
        [['Shift', '↑', '↓'], text('keyRange')],
        [['Ctrl', 'A'], text('keyAll')],
        [['/'], text('keyFilter')],
        [[text('keyTypeKeys')], text('keyType')],
        [[text('keyMenuKeys'), 'Shift F10'], text('keyMenu')],
        [['Esc'], text('keyEscape')],
        [['Ctrl', 'Space'], text('keyPlay')],
        [['Alt', '↑', '↓'], text('keyMoveEntry')],
        [['Del'], text('keyRemoveEntry')],
        [['?'], text('keyHelp')],
    ];
}

/** Shows the list of keys; Escape or its button closes it. */
export function showKeys() {
    if (document.querySelector('dialog[open]')) return;
    const list = element('dl');
    for (const [names, meaning] of keys()) {
        list.append(element('dt', {}, ...names.map((name) => element('kbd', {}, name))), element('dd', {}, meaning));
    }
    const dialog = element('dialog', { class: 'keys', 'aria-labelledby': 'keys-title' });
    const close = element('button', { type: 'button', class: 'second' }, text('close'));
    close.addEventListener('click', () => dialog.close());
    dialog.append(element('h2', { id: 'keys-title' }, text('keys')), list, close);
    dialog.addEventListener('close', () => dialog.remove());
    document.body.append(dialog);
    dialog.showModal();
}
