import { element } from './dom.js';
import { text } from './language.js';

/** @returns {[string[], string][]} keys and what they do */
function keys() {
    return [
        [['↑', '↓'], text('keyMove')],
        [[text('capHome'), text('capEnd')], text('keyEnds')],
        [[text('capEnter')], text('keyOpen')],
        [[text('capBackspace')], text('keyUp')],
        [[text('capSpace')], text('keySelect')],
        [[text('capShift'), '↑', '↓'], text('keyRange')],
        [[text('capCtrl'), 'A'], text('keyAll')],
        [['/'], text('keyFilter')],
        [[text('capLetters')], text('keyType')],
        [[text('capMenu'), text('capShiftF10')], text('keyMenu')],
        [[text('capEscape')], text('keyEscape')],
        [[text('capCtrl'), text('capSpace')], text('keyPlay')],
        [[text('capAlt'), '↑', '↓'], text('keyMoveEntry')],
        [[text('capDelete')], text('keyRemoveEntry')],
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
