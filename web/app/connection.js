import { element, setText } from './dom.js';
import { text } from './language.js';

/** @typedef {import('./session.js').Session} Session */

/**
 * A thin bar that says when the connection is lost. The page stays as it is meanwhile.
 * @param {Session} session
 */
export function connectionBar(session) {
    const message = element('span');
    const retry = element('button', { type: 'button' }, text('retryNow'));
    retry.addEventListener('click', () => session.wake());
    const bar = element('div', { class: 'connection' }, element('span', { role: 'status' }, message), retry);
    const update = () => {
        const lost = session.state === 'lost';
        bar.classList.toggle('shown', lost);
        retry.hidden = !lost;
        setText(message, lost ? text('connectionLost') : '');
    };
    session.addEventListener('state', update);
    update();
    return bar;
}

/**
 * Adds a dialog to the document that asks for the token while the server wants one.
 * @param {Session} session
 */
export function addSignInView(session) {
    const problem = element('p', { class: 'problem', role: 'alert' });
    const input = element('input', { type: 'password', id: 'token', autocomplete: 'current-password', required: true });
    const form = element(
        'form',
        {},
        element('h1', { id: 'sign-in-title' }, 'tavo'),
        element('p', { class: 'muted' }, text('signInWhy')),
        element('label', { for: 'token' }, text('token')),
        input,
        problem,
        element('button', { class: 'primary' }, text('signIn')),
    );
    const dialog = element('dialog', { class: 'sign-in', 'aria-labelledby': 'sign-in-title' }, form);
    dialog.addEventListener('cancel', (event) => event.preventDefault());
    form.addEventListener('submit', async (event) => {
        event.preventDefault();
        setText(problem, '');
        const refusal = await signIn(input.value);
        setText(problem, refusal);
        if (refusal === '') session.start();
        else input.select();
    });
    const update = () => {
        if (session.state === 'signIn' && !dialog.open) dialog.showModal();
        if (session.state === 'online' && dialog.open) dialog.close();
    };
    document.body.append(dialog);
    session.addEventListener('state', update);
    update();
}

/**
 * @param {string} token
 * @returns {Promise<string>} why it was refused; empty if it was not
 */
async function signIn(token) {
    try {
        const answer = await fetch('login', {
            method: 'POST',
            headers: { 'Content-Type': 'application/json' },
            body: JSON.stringify({ token }),
        });
        if (answer.ok) return '';
        return text(answer.status === 429 ? 'tooManyTokens' : 'wrongToken');
    } catch {
        return text('unreachable');
    }
}
