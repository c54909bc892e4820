import { nameOf } from '../../../web/app/paths.js';

/** A session whose host prepares the files of a folder, by name with their artists. */
export class TreeSession extends EventTarget {
    #artists;

    state = 'online';

    /** @param {Record<string, string>} artists */
    constructor(artists) {
        super();
        this.#artists = artists;
    }

    async describe() {
        return { roots: [{ prefix: '/file', services: { preparePlaylist: '/file/playList/prepareItems' } }] };
    }

    /** @param {string} _service @param {string[]} paths */
    async set(_service, paths) {
        return paths.map((path) => ({
            path,
            title: `Title of ${nameOf(path)}`,
            mediaData: { metaData: { serviceID: 'file', artist: this.#artists[nameOf(path)] }, resources: [{ duration: 1500 }] },
        }));
    }
}
