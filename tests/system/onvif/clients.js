// A camera through a client of npm: connects with its own functions and prints what it found, then does what standard
// input says, one line {"operation", "content"} after the other, as the client's own messages to the analytics service.
// Prints one line of JSON for each; a refusal is {"error"}.
//
// usage: node clients.js CLIENT HOST PORT USER PASSWORD   (in a folder in which the clients are installed)
'use strict';
const path = require('path');
const readline = require('readline');
const [name, host, port, user, password] = process.argv.slice(2);
const installed = (module) => require(path.join(process.cwd(), 'node_modules', module));
const TAN = 'http://www.onvif.org/ver20/analytics/wsdl';

// Each: connect() gives what it found; call(operation, content) gives the answer's text. The content writes "tan:".
const clients = {
    onvif() {
        const { Cam } = installed('onvif');
        let camera;
        return {
            connect: () => new Promise((done, failed) => {
                camera = new Cam({ hostname: host, port: Number(port), username: user, password }, (error) => {
                    if (error) {
                        failed(error);
                    } else {
                        camera.getDeviceInformation((problem, information) => (problem ? failed(problem) : done({
                            model: information.model,
                            profiles: camera.profiles.map((each) => each.$.token),
                            sources: camera.activeSources.map((each) => each.sourceToken),
                        })));
                    }
                });
            }),
            call: (operation, content) => new Promise((done, failed) => {
                const body = `${camera._envelopeHeader()}<tan:${operation} xmlns:tan="${TAN}">${content}</tan:${operation}>`;
                camera._request({ service: 'analytics', body: body + camera._envelopeFooter() },
                    (error, data, xml) => (error ? failed(error) : done(xml)));
            }),
        };
    },
    'node-onvif'() {
        const { OnvifDevice } = installed('node-onvif');
        const soap = installed('node-onvif/lib/modules/soap.js');
        const device = new OnvifDevice({ xaddr: `http://${host}:${port}/onvif/device_service`, user, pass: password });
        const address = new (require('url').URL)(`http://${host}:${port}/onvif/analytics_service`);
        return {
            connect: async () => {
                const information = await device.init();
                return {
                    model: information.Model,
                    profiles: device.getProfileList().map((each) => each.token),
                    sources: device.getProfileList().map((each) => each.video.source.token),
                };
            },
            call: async (operation, content) => {
                const body = `<tan:${operation}>${content}</tan:${operation}>`;
                const message = soap.createRequestSoap({ body, xmlns: [`xmlns:tan="${TAN}"`], diff: device.time_diff, user, pass: password });
                return (await soap.requestCommand(require('url').parse(address.href), operation, message)).soap;
            },
        };
    },
    'onvif-nvt'() {
        let camera;
        return {
            connect: async () => {
                camera = await installed('onvif-nvt').connect(host, Number(port), user, password);
                return {
                    model: camera.getInformation().Model,
                    profiles: camera.profileList.map((each) => each.$.token),
                    sources: camera.profileList.map((each) => each.VideoSourceConfiguration.SourceToken),
                };
            },
            call: async (operation, content) => (await camera.analytics.buildRequest(operation, content)).soap,
        };
    },
};

const told = (error) => ({ error: (error && (error.message || error.body || (error.fault && error.fault.reason))) || String(error) });
const say = (object) => process.stdout.write(`${JSON.stringify(object)}\n`);

(async () => {
    // What a client writes for people goes where it disturbs nobody.
    console.log = console.error;
    const client = clients[name]();
    try {
        say(await client.connect());
    } catch (error) {
        say(told(error));
        process.exit(0);
    }
    for await (const line of readline.createInterface({ input: process.stdin })) {
        const { operation, content } = JSON.parse(line);
        try {
            say({ answer: await client.call(operation, content) });
        } catch (error) {
            say(told(error));
        }
    }
    process.exit(0);
})();
