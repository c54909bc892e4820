import { connectionBar, newSession, signInView } from './connection.js';
import { TavoFolder } from './folder.js';
import { currentLanguage, useLanguage } from './language.js';
import { Queue } from './queue.js';
import { markTab, tabBar } from './tabs.js';

customElements.define('tavo-folder', TavoFolder);

await useLanguage(navigator.languages);
document.documentElement.lang = currentLanguage();

const session = newSession();
const queue = new Queue(session);

const tabs = tabBar(show);

/** @param {import('./tabs.js').View} view */
function show(view) {
    document.body.dataset.view = view;
    markTab(tabs, view);
}

document.body.append(new TavoFolder(session, queue), tabs, connectionBar(session), signInView(session));
show('folder');
addEventListener('hashchange', () => show('folder'));
session.start();
