// Looks for cameras on the network with a client of npm, and prints what it finds: one line of JSON, a list of
// {"urn", "addresses", "scopes"}.
//
// usage: node discover.js CLIENT   (in a folder in which the clients are installed)
'use strict';
const path = require('path');
const installed = (module) => require(path.join(process.cwd(), 'node_modules', module));
const listed = (devices) => devices.map((each) => ({ urn: each.urn, addresses: each.xaddrs, scopes: each.scopes }));

const clients = {
    onvif: () => new Promise((done, failed) => {
        installed('onvif').Discovery.probe({ timeout: 2000, resolve: false }, (error, found) => (error ? failed(error) : done(
            found.map(({ probeMatches: { probeMatch } }) => ({
                urn: probeMatch.endpointReference.address,
                addresses: probeMatch.XAddrs.split(' '),
                scopes: probeMatch.scopes.split(' '),
            })))));
    }),
    'node-onvif': async () => listed(await installed('node-onvif').startProbe()),
    'onvif-nvt': async () => {
        const manager = installed('onvif-nvt');
        manager.add('discovery');
        return listed(await manager.discovery.startProbe());
    },
};

clients[process.argv[2]]().then(
    (found) => process.stdout.write(`${JSON.stringify(found)}\n`, () => process.exit(0)),
    (error) => {
        console.error(error);
        process.exit(1);
    });
