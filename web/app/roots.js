import { lineage, nameOf, top } from './paths.js';

/** @typedef {import('./session.js').Root} Root */

/** The roots that the host serves, and the names of the folders on the way to a path. */
export class Roots {
    #session;
    /** @type {Promise<Root[]> | null} */
    #roots = null;

    /** @param {import('./session.js').Session} session */
    constructor(session) {
        this.#session = session;
        // A host that was restarted may serve other roots.
        session.addEventListener('state', () => {
            if (session.state === 'lost') this.#roots = null;
        });
    }

    /** The trees of files. */
    async files() {
        return (await this.#all()).filter((root) => root.kind === 'files');
    }

    /**
     * A path and all folders above it, with their names for people; the top only where there are several trees.
     * @param {string} path
     * @param {string} topName
     * @returns {Promise<{ path: string, name: string }[]>}
     */
    async line(path, topName) {
        let roots = await this.#all();
        if (!roots.some((root) => path.startsWith(`${root.prefix}/`)) && path !== top) {
            // A root that came back meanwhile.
            this.#roots = null;
            roots = await this.#all();
        }
        const single = (await this.files()).length === 1;
        const line = lineage(path).map((at) => ({ path: at, name: titleOf(roots, at, topName) }));
        return single && path !== top ? line.slice(1) : line;
    }

    #all() {
        this.#roots ??= this.#session.describe().then(
            (description) => description.roots,
            (error) => {
                this.#roots = null;
                throw error;
            },
        );
        return this.#roots;
    }
}

/**
 * @param {Root[]} roots
 * @param {string} path
 * @param {string} topName
 */
function titleOf(roots, path, topName) {
    if (path === top) return topName;
    return roots.find((root) => `${root.prefix}/` === path)?.title ?? nameOf(path);
}
