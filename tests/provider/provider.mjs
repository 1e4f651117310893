// A provider of OpenID Connect from npm, on loopback at a free port, set up as the platform's sign-in is: for the test
// of signing in. Prints the base URL when it listens, and ends with standard input.
//
// Beside the provider stand a project and its workflows, answered only to an access token that the provider's own
// keys have signed and that has not run out.
import { createServer } from "node:http";
import { Provider } from "oidc-provider";
import { createRemoteJWKSet, jwtVerify } from "jose";

const realm = "/auth/realms/Dorvane/protocol/openid-connect";
const accessSeconds = 300;
const refreshSeconds = 1800;

const server = createServer();
await new Promise((listening) => server.listen(0, "127.0.0.1", listening));
const base = `http://127.0.0.1:${server.address().port}`;
const audience = "urn:dorvane:test";

const provider = new Provider(base, {
    clients: [
        {
            client_id: "ios-sdk",
            application_type: "native",
            token_endpoint_auth_method: "none",
            redirect_uris: ["dorvane.ios.sdk://login/"],
            response_types: ["code"],
            grant_types: ["authorization_code", "refresh_token"],
        },
    ],
    routes: {
        authorization: `${realm}/auth`,
        token: `${realm}/token`,
        end_session: `${realm}/logout`,
        jwks: `${realm}/certs`,
    },
    pkce: { required: () => false },
    rotateRefreshToken: false,
    issueRefreshToken: async () => true,
    ttl: { AccessToken: accessSeconds, RefreshToken: refreshSeconds },
    findAccount: async (context, id) => ({ accountId: id, claims: async () => ({ sub: id }) }),
    extraTokenClaims: async (context, token) => ({ name: token.accountId, email: `${token.accountId}@example.com` }),
    features: {
        devInteractions: { enabled: true },
        resourceIndicators: {
            enabled: true,
            defaultResource: async () => audience,
            useGrantedResource: async () => true,
            getResourceServerInfo: async () => ({ scope: "", audience, accessTokenFormat: "jwt" }),
        },
    },
});

provider.use(async (context, next) => {
    // The platform's realm has a default scope; this provider grants none to a request that asks for none.
    if (context.path === `${realm}/auth` && !context.query.scope) context.query = { ...context.query, scope: "openid" };
    await next();
    // The platform says how long a refresh token lives; this provider does not.
    if (context.path === `${realm}/token` && context.body?.access_token)
        context.body.refresh_expires_in = refreshSeconds;
});

const keys = createRemoteJWKSet(new URL(`${base}${realm}/certs`));
const signIn = provider.callback();
server.on("request", async (request, response) => {
    const wanted = /^\/(projects|workflows-strings)-api\//.exec(request.url)?.[1];
    if (!wanted) {
        signIn(request, response);
        return;
    }
    const answer = (status, json) => {
        response.writeHead(status, { "Content-Type": "application/json" });
        response.end(JSON.stringify({ response: json }));
    };
    try {
        const token = (request.headers.authorization ?? "").replace(/^Bearer /, "");
        const { payload } = await jwtVerify(token, keys, { issuer: base, audience });
        if (wanted === "projects") {
            answer(200, { code: "SUCCESS", data: { projectId: "garden" } });
            return;
        }
        const step = {
            workflowStepName: payload.name,
            workflowStepUid: payload.jti,
            workflowStepClass: "TRANSLATION",
            permissions: { canTranslateStrings: true },
        };
        answer(200, {
            code: "SUCCESS",
            data: { items: [{ workflowName: "Of the provider", workflowUid: "w", workflowSteps: [step] }] },
        });
    } catch (problem) {
        answer(401, { code: "AUTHENTICATION_ERROR", errors: [{ message: String(problem) }] });
    }
});

console.log(base);
process.stdin.resume();
process.stdin.on("end", () => process.exit(0));
